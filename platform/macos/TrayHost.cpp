#include "platform/TrayHost.h"

#include <QObject>

namespace qm {

namespace {

class MenuBar : public TrayHost
{
public:
    explicit MenuBar(std::function<void()> appeared)
    {
        QMetaObject::invokeMethod(&m_context, std::move(appeared), Qt::QueuedConnection);
    }

private:
    QObject m_context; // destroying it cancels the call
};

} // namespace

std::unique_ptr<TrayHost> whenTrayHostAppears(std::function<void()> appeared)
{
    return std::make_unique<MenuBar>(std::move(appeared));
}

bool trayOpensMenus()
{
    return true;
}

} // namespace qm
