#pragma once

#include "tests/support/Desktop.h"
#include "tests/support/PatternWindow.h"

#include <QImage>
#include <QRect>

#include <deque>

namespace qm {

// What the tests of qmscroll do on a desktop: views of known content, captures of them, and the comparison. What does not
// come about ends the test (qFatal). Main thread; pixels of the desktop.
class ViewDriver
{
public:
    static constexpr char program[] = QM_PROGRAMS "/qmscroll";
    enum class PanelButton { done, cancel };

    struct View {
        QRect area;         // that scrolls
        QImage content;     // all of it, as the view itself draws it
        int ignoredColumns; // at the right: a scroll bar over the content
        QProcess *process;
        int lastRow() const; // of the content that is not blank
    };

    explicit ViewDriver(Desktop &desktop);
    ~ViewDriver(); // ends what it started
    Q_DISABLE_COPY_MOVE(ViewDriver)

    Desktop &desktop() const { return m_desktop; }
    const View &startView(const QString &kind, const QRect &area, int lines); // browser, plain (Qt) or gtk
    void endViews();

    // These return once the region was drawn and the panel is there.
    QProcess &startCapture(const QRect &region, const QStringList &arguments = {}, const QStringList &environment = {});
    QProcess &startCaptureBelowShell(const QRect &region);  // what is returned is the shell
    QProcess &startCaptureOnSmallDisk(const QRect &region); // of 64 kB; what is left on it is printed
    bool hasScrolled(const View &view) const;               // waits until the view no longer shows its beginning

    void drawRegion(const QRect &region); // for a helper that something else has started

    QRect button(PanelButton which) const; // invalid when there is none
    void clickButton(PanelButton which);

    QString folder() const { return m_folder; }
    QStringList files() const; // in the folder, hidden ones included
    QImage picture() const { return QImage(m_path); }
    // The picture with the content of the last view that was started, from the region's first row on. Empty when each row is
    // there once, else what is wrong.
    QString compare(const QRect &region) const { return compare(region, picture()); }
    QString compare(const QRect &region, const QImage &picture) const;

    // No grab keeps others from keyboard and pointer, and no button is down.
    static bool nothingIsHeld(Desktop &desktop);

private:
    Desktop &m_desktop;
    QString m_folder, m_path;
    std::deque<View> m_views;
    QProcess *m_helper = nullptr;
};

} // namespace qm
