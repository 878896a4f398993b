#pragma once

#include "tests/support/TempHome.h"

#include <QImage>
#include <QProcess>
#include <QRect>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <vector>
#include <xcb/xcb.h>

namespace qm {

// Key codes of a PC keyboard, as XTEST takes them. By code and not by symbol: a symbol would find the left twin first.
enum class Key {
    escape = 9,
    tab = 23,
    enter = 36,
    leftControl = 37,
    leftShift = 50,
    c = 54,
    rightShift = 62,
    space = 65,
    capsLock = 66,
    rightControl = 105,
    up = 111,
    left = 113,
    right = 114,
    down = 116,
};

enum class Button { left = 1, middle = 2, right = 3, wheelUp = 4, wheelDown = 5 };

// A real desktop without a screen, for one test program: X server, window manager, panel with a tray, session bus; its own
// display number, home and runtime folder. Everything is ready when the constructor returns, and ends with the object, or
// with the process however that dies. What does not start ends the test (qFatal).
//
//     Desktop desktop({.size = {1280, 800}});
//     QProcess &program = desktop.start(QM_PROGRAMS "/qmcapture", {u"-i"_s, desktop.home().file(u"a.png"_s)});
//     QVERIFY(desktop.overlayIsUp());
//     desktop.drag({100, 100}, {299, 249});
//     QVERIFY(Desktop::ended(program));
//
// Main thread. Positions and sizes are pixels of the whole desktop, y down. Input is seen by the server when a call
// returns; when a program has acted on it is for wait() to find out.
class Desktop
{
public:
    struct Options {
        QSize size = {1280, 800};
        int depth = 24;             // bits a pixel; picture() knows 24 only
        QList<QRect> monitors = {}; // as RandR is to tell them, named "M0", "M1", ...; empty: one, the whole desktop
        bool windowManager = true;  // openbox
        bool panel = true;          // tint2 at the bottom, with a tray
        bool compositor = false;    // picom
        QStringList server = {};    // what else the X server is told
    };

    Desktop();
    explicit Desktop(const Options &options);
    ~Desktop();
    Q_DISABLE_COPY_MOVE(Desktop)

    const TempHome &home() const { return m_home; }
    QString display() const { return m_display; } // ":99"

    // Waits for a condition while the test's own events run; false when it did not come about in time.
    static bool wait(const std::function<bool()> &condition,
                     std::chrono::milliseconds limit = std::chrono::seconds(20));
    static bool ended(const QProcess &process);                         // waits for it
    static void end(std::vector<std::unique_ptr<QProcess>> &processes); // the last one first

    // Programs. The desktop owns them and ends them; a test may end one earlier.
    QProcess &start(const QString &program, const QStringList &arguments, const QStringList &extraEnvironment = {});
    // The files it writes have room for 16 kB.
    QProcess &startOnFullDisk(const QString &program, const QStringList &arguments);
    void stopWindowManager();                      // as a crash would
    void stopSessionBus();                         // likewise
    void holdSessionBus(bool held);                // it takes connections, but nothing is heard of it
    void setResource(const QByteArray &resources); // the X resources, "Xft.dpi:\t192\n"

    // Keyboard and pointer.
    void keyDown(Key key) { fakeInput(XCB_KEY_PRESS, int(key)); }
    void keyUp(Key key) { fakeInput(XCB_KEY_RELEASE, int(key)); }
    void tap(Key key) { keyDown(key), keyUp(key); }
    void movePointer(QPoint to) { fakeInput(XCB_MOTION_NOTIFY, 0, to); }
    void buttonDown(Button button = Button::left) { fakeInput(XCB_BUTTON_PRESS, int(button)); }
    void buttonUp(Button button = Button::left) { fakeInput(XCB_BUTTON_RELEASE, int(button)); }
    void click(QPoint at, Button button = Button::left);
    void drag(QPoint from, QPoint to); // with the left button, over a few points between
    // Both, as an open menu does; false when another program has one of them.
    bool grabInput() { return grab(true) == 2; }
    void releaseInput();      // whatever is still held down or grabbed
    bool inputIsFree() const; // no program has grabbed anything, and no button is down
    QPoint pointer() const;

    // The overlay of one of our capture tools. These wait.
    bool overlayIsUp() const;   // it has keyboard and pointer
    bool overlayIsGone() const; // with all that it had

    // What is to be seen.
    QImage picture(const QRect &area = {}) const; // the whole desktop, or a part
    QImage stillPicture() const;                  // once nothing has changed for a tenth of a second
    QColor pixel(QPoint at) const { return picture({at, QSize(1, 1)}).pixelColor(0, 0); }
    bool shows(const QImage &picture, QPoint at = {}) const; // waits for it
    bool shows(QRgb color, QPoint at) const;                 // the same
    QRect find(QRgb color) const; // around all squares of this colour, 5 pixels wide and high; null when there is none

    struct Window {
        quint32 id = 0;
        QString title;
        QRect content = {}; // without the frame
        QRect frame = {};
    };
    QList<Window> windows() const; // those the window manager knows, bottom first
    std::optional<Window> windowTitled(const QString &title) const;
    quint32 selectionOwner(const char *selection) const; // 0: none
    void cutOff(quint32 window);                         // its program has no display any more

    // The clipboard, as another program reads it.
    QStringList clipboardTypes();
    QByteArray clipboard(const QString &mimeType);

    // For what is missing here.
    xcb_connection_t *connection() const { return m_connection; }
    quint32 root() const { return m_root; }
    struct FreeDeleter {
        void operator()(void *memory) const { std::free(memory); }
    };
    // The answer to one of XCB's requests: ask(xcb_get_geometry_reply, xcb_get_geometry(...)). Null when it is refused.
    template<class Answer, class Cookie>
    std::unique_ptr<Answer, FreeDeleter> ask(Answer *(*answer)(xcb_connection_t *, Cookie, xcb_generic_error_t **),
                                             Cookie cookie) const
    {
        return std::unique_ptr<Answer, FreeDeleter>(answer(m_connection, cookie, nullptr));
    }
    quint32 atom(const char *name) const;
    QByteArray property(quint32 window, const char *name) const;

private:
    quint32 makeProbe(bool passesTheManager);
    void startWindowManager();
    void startCompositor();
    void awaitReady(const char *what, const std::function<bool()> &ready) const;
    QByteArray firstLine(QProcess &process, const char *what) const;
    void fakeInput(int type, int detail, QPoint at = {});
    QByteArray run(const QString &program, const QStringList &arguments);
    int grab(bool keep) const;

    TempHome m_home;
    QString m_display;
    QString m_busAddress;
    std::vector<std::unique_ptr<QProcess>> m_processes; // ended last first
    QProcess *m_windowManager = nullptr;
    QProcess *m_bus = nullptr;
    xcb_connection_t *m_connection = nullptr;
    quint32 m_root = 0;
    QList<std::pair<int, int>> m_down; // type of the press, key or button
};

} // namespace qm
