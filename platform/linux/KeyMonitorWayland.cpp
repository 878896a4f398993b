#include "platform/linux/KeyMonitorWayland.h"

#include "platform/linux/KeyProgram.h"
#include "platform/linux/PortalShortcuts.h"
#include "platform/linux/SwayBindings.h"
#include "platform/wayland/SwayIpc.h"

#include <QTimer>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr int mostAttempts = 30; // to ask sway again: one a second

class KeyMonitorWayland : public KeyMonitor
{
public:
    explicit KeyMonitorWayland(const QString &keyProgram)
        : m_keyProgram(keyProgram)
    {
        m_again.setSingleShot(true);
        m_again.setInterval(1s);
        m_again.callOnTimeout([this] { tryRoads(); });
    }

    Started start(std::function<void(const KeyEvent &)> handle) override
    {
        m_program = std::make_unique<KeyProgram>(m_keyProgram, handle);
        m_sway = std::make_unique<SwayBindings>(handle);
        m_portal = std::make_unique<PortalShortcuts>(m_tap, m_hold, [this, handle](PortalShortcuts::Capture capture) {
            handle({.type = KeyEvent::Type::usedAlone,
                    .keyCode = m_trigger,
                    .held = capture == PortalShortcuts::Capture::region ? std::chrono::milliseconds::zero()
                                                                        : std::chrono::milliseconds::max()});
        });
        QObject::connect(m_program.get(), &KeyProgram::changed, m_program.get(), [this] { chooseRoad(); });
        m_program->start();
        return Started::yes;
    }

    void enable() override {} // nothing here is ever disabled

    void setTrigger(int keyCode) override
    {
        m_trigger = keyCode;
        if (m_sway && m_sway->isListening())
            chooseRoad();
    }

    void setShortcutNames(const QString &tap, const QString &hold) override
    {
        m_tap = tap;
        m_hold = hold;
    }

    KeyRoad road() const override
    {
        if (m_program && m_program->isListening())
            return KeyRoad::inputDevices;
        if (m_sway && m_sway->isListening())
            return KeyRoad::compositor;
        return m_portal && m_portal->isListening() ? KeyRoad::portal : KeyRoad::none;
    }

    QString keyName(int) const override { return {}; }

private:
    void chooseRoad()
    {
        m_attempts = mostAttempts;
        tryRoads();
    }

    void tryRoads()
    {
        m_again.stop();
        if (m_program->isListening()) {
            m_sway->stop();
            m_portal->stop();
        } else if (m_sway->start(m_trigger)) {
            m_portal->stop();
        } else {
            if (!qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains(QStringLiteral("Hyprland")))
                m_portal->start(); // there it would take the shortcuts, but never give them keys
            // While a session starts, sway may be too busy to answer.
            if (SwayIpc::isHere() && m_attempts-- > 0)
                m_again.start();
        }
    }

    const QString m_keyProgram;
    int m_trigger = 0;
    QString m_tap, m_hold; // what their shortcuts are called
    std::unique_ptr<KeyProgram> m_program;
    std::unique_ptr<SwayBindings> m_sway;
    std::unique_ptr<PortalShortcuts> m_portal; // whose shortcuts stand for a tap and a hold
    QTimer m_again;                            // to the next attempt where sway does not answer
    int m_attempts = 0;                        // that are left
};

} // namespace

std::unique_ptr<KeyMonitor> makeKeyMonitorWayland(const QString &keyProgram)
{
    return std::make_unique<KeyMonitorWayland>(keyProgram);
}

} // namespace qm
