#pragma once

#include "tests/support/Desktop.h"

#include <QImage>
#include <QProcess>
#include <QSocketNotifier>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <vector>

struct wl_seat;
struct wl_surface;
struct xkb_state;
struct zwlr_virtual_pointer_v1;
struct zwp_virtual_keyboard_v1;

namespace qm {

class WaylandServer;

// A real Wayland desktop without a screen, for one test program: sway with monitors in memory, and a mouse and a keyboard that
// the test uses. Everything is ready when the constructor returns, and ends with the object. What does not start ends the test
// (qFatal).
//
// Main thread. Positions are sway's, which are logical: where a monitor's scale is 2, each is two pixels.
class SwayDesktop
{
public:
    struct Output {
        QSize pixels = {1280, 800};
        QPoint at = {};
        double scale = 1;
        const char *transform = "normal";
    };
    explicit SwayDesktop(const QList<Output> &outputs);
    ~SwayDesktop();
    Q_DISABLE_COPY_MOVE(SwayDesktop)

    const TempHome &home() const { return m_home; }

    QProcess &start(const QString &program, const QStringList &arguments, const QStringList &extraEnvironment = {});
    QByteArray run(const QString &program, const QStringList &arguments); // what it prints
    void command(const QString &words);                                   // sway's own, as in its configuration
    void stop();                                                          // as a crash would

    void movePointer(QPoint to);
    void buttonDown() { button(true); }
    void buttonUp() { button(false); }
    void drag(QPoint from, QPoint to); // over a few points between
    void keyDown(Key key) { this->key(key, true); }
    void keyUp(Key key) { this->key(key, false); }
    void tap(Key key) { keyDown(key), keyUp(key); }

    // A window onto a page, which the wheel moves; the wheel's clicks are lost where many come at once, as in browsers. Floating,
    // with its content there; returns once it is shown. It goes with the desktop.
    struct Page {
        QImage content; // RGB32
        QSize seen;     // pixels
        double scale = 1;
        int offset = 0; // of the first row that is seen
    };
    const Page &showPage(const QString &title, const Page &page, QPoint at);
    void showWindow(const QString &title, const QImage &picture, QPoint at) // which nothing moves
    {
        showPage(title, {picture, picture.size()}, at);
    }

    // With which the program whose window the pointer is on, clicked for it, lets another one come to the front. The window is
    // one of these.
    QString activationToken();

    // What a monitor shows, in its own pixels; without the pointer.
    QImage picture(int output = 0);
    bool shows(const QImage &picture, QPoint at = {}, int output = 0); // waits for it; pixels

private:
    struct Window;
    void listenToPointer(wl_seat *seat);
    void turn(int clicks, quint32 time);
    void button(bool isDown);
    void key(Key key, bool isDown);
    bool wait(const std::function<bool()> &condition);
    void start(QProcess &process, const QString &program, const QStringList &arguments, bool asOrdinaryUser);

    TempHome m_home;
    QTemporaryDir m_runtime; // sway's, which refuses to run as root
    QRect m_extent;
    std::vector<std::unique_ptr<QProcess>> m_processes; // ended last first
    std::unique_ptr<WaylandServer> m_server;
    std::vector<std::unique_ptr<Window>> m_windows;
    std::unique_ptr<QSocketNotifier> m_events;
    wl_surface *m_pointed = nullptr; // of ours
    quint32 m_pressed = 0;           // the serial of the last press on one of ours
    int m_turns = 0;                 // that came at once
    quint32 m_lastTurn = 0;          // the compositor's time
    zwlr_virtual_pointer_v1 *m_pointer = nullptr;
    zwp_virtual_keyboard_v1 *m_keyboard = nullptr;
    xkb_state *m_keys = nullptr;
    quint32 m_time = 0;
};

} // namespace qm
