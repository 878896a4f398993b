#pragma once

#include "helpers/qmscroll/ScrollDesktop.h"
#include "helpers/qmscroll/ScrollPanel.h"
#include "helpers/qmscroll/ScrollSession.h"
#include "helpers/qmscroll/Take.h"

#include <QElapsedTimer>

#include <functional>
#include <memory>
#include <optional>

namespace qm {

// One scrolling capture, from the selected region to the file: the session decides, this class carries it out with
// desktop and take. One thread, blocked until the end.
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
        int height = 0;          // of the picture, pixels
        bool mayBeStale = false; // see ScrollSession
        QString cut;             // why the file ends early, if it could not be written further
        QString failure;         // empty if a file was written or the capture was cancelled
    };

    CaptureRun(ScrollDesktop &desktop, const ScrollDesktop::Region &region, const Options &options);

    Result run();

private:
    void capture();
    void handle(const ScrollDesktop::Input &input);
    void look();
    bool coveredLook(const ScrollSession::Sight &sight);
    void act(const ScrollSession::Order &order);
    void turnWheel(int clicks);
    ScrollSession::Sight pointerSeen(); // no more of a sight than the pointer's part
    ScrollSession::Order join(const ScrollSession::Order &order);
    ScrollSession::Found find(int near) const;
    ScrollSession::Order takeAgain();
    std::unique_ptr<Take> newTake(const std::optional<ScrollBar> &bar, const Take *earlier = nullptr) const;
    void chooseTake(Result *result);
    void updatePanel();
    QString status() const;
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
    std::unique_ptr<Take> m_take, m_earlier; // earlier: the higher one of those before it was begun again
    ScrollSession::End m_earlierEnd = ScrollSession::End::open;
    PanelPlace m_place;
    std::optional<ScrollPanel> m_panel;
    bool m_panelShown = false;
    QString m_failure;
    ScrollSession::Milliseconds m_nextLook{0};
    std::optional<quint32> m_window; // that gets the wheel; empty until the pointer has been moved there

    QImage m_frame;       // of the latest look
    QImage m_joined;      // last passed to the stitcher
    bool m_fresh = false; // m_frame differs from m_joined
    bool m_thumbnailDue = false;
};

} // namespace qm
