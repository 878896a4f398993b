#pragma once

#include "platform/KeyMonitor.h"

#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>

namespace qm {

class SwayIpc;

// The trigger key by bindings of sway, which run nothing. sway tells of a binding's release only if no other key was pressed
// meanwhile; so what the key was used for is known when it is released, not before. Programs see the modifier all the same,
// but not the key. Main thread; a sway that does not answer is waited for 0.2 s; after it has
// read its configuration again it is asked each second for half a minute.
class SwayBindings
{
public:
    explicit SwayBindings(std::function<void(const KeyEvent &)> handle);
    ~SwayBindings(); // takes the bindings back

    bool start(int keyCode); // false without sway. Again for another key
    void stop();
    bool isListening() const { return m_events != nullptr; }

private:
    bool bind();
    void bindAgain();
    void unbind();
    void read();
    void handle(const QByteArray &binding);

    const std::function<void(const KeyEvent &)> m_handle;
    int m_keyCode = 0;
    std::unique_ptr<SwayIpc> m_events; // null while not listening
    std::unique_ptr<QSocketNotifier> m_notifier;
    QTimer m_again;       // to the next attempt to bind again
    int m_attempts = 0;   // that are left
    QElapsedTimer m_down; // valid while the key is down
};

} // namespace qm
