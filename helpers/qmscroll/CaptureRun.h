#pragma once

#include "helpers/qmscroll/ScrollDesktop.h"
#include "helpers/qmscroll/ScrollPanel.h"
#include "helpers/qmscroll/ScrollSession.h"
#include "helpers/qmscroll/TallPicture.h"

#include <QElapsedTimer>
#include <QList>

#include <functional>
#include <optional>

namespace qm {

// One scrolling capture, from the chosen region to the file: lets the session decide, and does what it says with desktop,
// stitcher and picture. One thread, which it keeps until the end.
class CaptureRun
{
public:
    struct Options {
        QString path;
        ScrollSession::Mode mode = ScrollSession::Mode::automatic;
        int heightLimit = 0;                // pixels
        std::function<bool()> isAskedToEnd; // by a signal
    };
    struct Result {
        ScrollSession::End end = ScrollSession::End::cancelled;
        int height = 0;  // of the picture
        QString failure; // empty: there is a file, or it was cancelled
    };

    CaptureRun(ScrollDesktop &desktop, const ScrollDesktop::Region &region, const Options &options);

    Result run();

private:
    void capture();
    void handle(const ScrollDesktop::Input &input);
    void look();
    bool coveredLook(const ScrollSession::Sight &sight);
    void act(const ScrollSession::Order &order);
    ScrollSession::Order join();
    bool keep(const QImage &rows);
    void writePending(ScrollSession::Milliseconds until);
    QImage thumbnail() const;
    Outcome finish();
    void updatePanel();
    void showPanel();
    void hidePanel();
    void linger(const QString &status);
    ScrollSession::Pointer place(QPoint pointer) const;
    ScrollSession::Milliseconds now() const { return ScrollSession::Milliseconds(m_clock.elapsed()); }

    ScrollDesktop &m_desktop;
    const ScrollDesktop::Region m_region;
    const Options m_options;
    QElapsedTimer m_clock;
    ScrollSession m_session;
    TallPicture m_picture;
    Stitcher m_stitcher;
    PanelPlace m_place;
    std::optional<ScrollPanel> m_panel;
    bool m_panelShown = false;
    QString m_failure;
    ScrollSession::Milliseconds m_nextLook{0};
    bool m_pointerMoved = false;

    QImage m_frame;       // of the last look
    QImage m_joined;      // the last that was to be joined
    QImage m_furthest;    // that with which the picture last grew
    bool m_fresh = false; // the former differs from the latter

    QList<QImage> m_pending; // rows that are not in the file yet: they are written while a view scrolls
    int m_rows = 0;          // handed over, the pending ones included
    bool m_writes = true;    // the file has taken all so far
    bool m_thumbnailDue = false;
};

} // namespace qm
