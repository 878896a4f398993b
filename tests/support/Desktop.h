#pragma once

#include "tests/support/TempHome.h"

#include <QImage>
#include <QProcess>
#include <QRect>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

struct xcb_connection_t;

namespace qm {

// Key codes of a PC keyboard, as XTEST takes them. By code and not by symbol: a symbol would find the left twin first.
enum class Key {
    escape = 9,
    backspace = 22,
    tab = 23,
    enter = 36,
    leftControl = 37,
    leftShift = 50,
    rightShift = 62,
    leftAlt = 64,
    space = 65,
    rightControl = 105,
    up = 111,
    rightAlt = 108,
    left = 113,
    right = 114,
    down = 116,
    del = 119,
    rightSuper = 134,
};

enum class Button { left = 1, middle = 2, right = 3, wheelUp = 4, wheelDown = 5 };

// A real desktop without a screen, for one test program: X server, window manager, panel with a tray, session bus, and a
// compositor where asked; its own display number, home and runtime folder. Everything is ready when the constructor
// returns, and ends with the object, or with the process however that dies. What does not start ends the test (qFatal).
//
//     Desktop desktop({.size = {1280, 800}});
//     QProcess &program = desktop.start(QStringLiteral(QM_PROGRAMS "/qmcapture"), {"-i", desktop.home().file("a.png")});
//     QVERIFY(Desktop::wait([&] { return desktop.windowTitled("...").has_value(); }));
//     desktop.drag({100, 100}, {299, 249});
//     desktop.tap(Key::escape);
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
    };

    Desktop();
    explicit Desktop(const Options &options);
    ~Desktop();
    Q_DISABLE_COPY_MOVE(Desktop)

    const TempHome &home() const { return m_home; }
    QString display() const { return m_display; } // ":99"
    QProcessEnvironment environment() const;      // for programs that are to run on this desktop

    // Waits for a condition while the test's own events run; false when it did not come about in time.
    static bool wait(const std::function<bool()> &condition,
                     std::chrono::milliseconds limit = std::chrono::seconds(20));

    // Programs. The desktop owns them and ends them; a test may end one earlier.
    QProcess &start(const QString &program, const QStringList &arguments, const QStringList &extraEnvironment = {});
    void startWindowManager();
    void stopWindowManager(); // as a crash would
    void startCompositor();
    void stopCompositor();
    void setMonitors(const QList<QRect> &monitors); // empty: one, the whole desktop
    void setResource(const QByteArray &resources);  // the X resources, "Xft.dpi:\t192\n"

    // Keyboard and pointer.
    void keyDown(Key key);
    void keyUp(Key key);
    void tap(Key key);
    void movePointer(QPoint to);
    void buttonDown(Button button = Button::left);
    void buttonUp(Button button = Button::left);
    void click(QPoint at, Button button = Button::left);
    void drag(QPoint from, QPoint to); // with the left button, over a few points between
    void releaseInput();               // whatever is still held down
    QPoint pointer() const;

    // What is to be seen.
    QImage picture(const QRect &area = {}) const; // the whole desktop, or a part
    QImage stillPicture() const;                  // once nothing has changed for a tenth of a second
    QColor pixel(QPoint at) const;

    struct Window {
        quint32 id = 0;
        QString title;
        QRect content; // without the frame
        QRect frame;
    };
    QList<Window> windows() const; // those the window manager knows, bottom first
    std::optional<Window> windowTitled(const QString &title) const;
    quint32 selectionOwner(const char *selection) const; // 0: none

    // The clipboard, as another program reads it.
    QStringList clipboardTypes();
    QByteArray clipboard(const QString &mimeType);

    xcb_connection_t *connection() const { return m_connection; } // for what is missing here
    quint32 root() const { return m_root; }

private:
    QProcess &launch(const QString &program, const QStringList &arguments, const QStringList &extraEnvironment = {});
    void awaitReady(const char *what, const std::function<bool()> &ready) const;
    QByteArray firstLine(QProcess &process, const char *what) const;
    void fakeInput(int type, int detail, QPoint at = {});
    QByteArray run(const QString &program, const QStringList &arguments);
    quint32 atom(const char *name) const;
    QByteArray property(quint32 window, const char *name) const;

    TempHome m_home;
    QString m_display;
    QString m_busAddress;
    std::vector<std::unique_ptr<QProcess>> m_processes; // ended last first
    QProcess *m_windowManager = nullptr;
    QProcess *m_compositor = nullptr;
    xcb_connection_t *m_connection = nullptr;
    quint32 m_root = 0;
    int m_monitorCount = 0;
    QList<int> m_keysDown;
    QList<int> m_buttonsDown;
};

} // namespace qm
