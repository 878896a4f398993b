#pragma once

#include "tests/support/Desktop.h"

#include <QImage>
#include <QRect>
#include <QSocketNotifier>

namespace qm {

// A window onto a long page of numbered lines that moves it when the wheel is turned over it. Moves while the test waits.
class ScrolledPage
{
public:
    ScrolledPage(Desktop &desktop, const QRect &area, int lines); // returns once it is shown
    ~ScrolledPage() { close(); }
    void close(); // the window is gone; the content is still known
    Q_DISABLE_COPY_MOVE(ScrolledPage)

    const QRect area; // on the desktop
    const QImage content;
    int offset() const { return m_offset; } // of the content's first row that is seen

private:
    void readEvents();

    xcb_connection_t *m_connection;
    quint32 m_window, m_page;
    int m_offset = 0, m_turns = 0; // turns: since the wheel was still for two milliseconds
    quint32 m_lastTurn = 0;        // the server's time
    std::unique_ptr<QSocketNotifier> m_events;
};

// What the tests of qmscroll do on a desktop: pages, captures of them, and the comparison. What does not come about ends
// the test (qFatal). Main thread; pixels of the desktop.
class ViewDriver
{
public:
    static constexpr char program[] = QM_PROGRAMS "/qmscroll";
    static constexpr QRgb done = 0xff0a84ff, cancel = 0xff58585c; // the panel's buttons, by their colours

    explicit ViewDriver(Desktop &desktop);
    ~ViewDriver(); // ends what it started
    Q_DISABLE_COPY_MOVE(ViewDriver)

    const ScrolledPage &startView(const QRect &area, int lines);
    void endView() { m_view->close(); }

    // Returns once the region was drawn and the panel is there.
    QProcess &startCapture(const QRect &region, const QStringList &arguments = {}, const QStringList &environment = {});
    void drawRegion(const QRect &region); // for a helper that something else has started
    bool hasScrolled() const;             // waits until the page no longer shows its beginning
    void click(QRgb button);

    QString path() const { return m_path; }
    QStringList files() const; // in the path's folder, hidden ones included
    QImage picture() const { return QImage(m_path).convertToFormat(QImage::Format_RGB32); }
    // The picture with the page's content, from the region's first row on. Empty when each row is there once, else what is
    // wrong.
    QString compare(const QRect &region) const { return compare(region, picture()); }
    QString compare(const QRect &region, const QImage &picture) const;

private:
    Desktop &m_desktop;
    QString m_folder, m_path;
    std::unique_ptr<ScrolledPage> m_view;
    QProcess *m_helper = nullptr;
};

} // namespace qm
