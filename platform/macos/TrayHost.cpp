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
    QObject m_context; // the call is dropped with it
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
