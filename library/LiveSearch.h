#pragma once

#include "index/Shot.h"
#include "platform/TaskQueue.h"
#include "ui/LatestJob.h"

#include <functional>
#include <optional>

namespace qm {

// The shots for a search text, kept current while somebody looks: they are asked for again whenever the index has
// changed, and as long as it cannot be read. Main thread; the index is read on another.
class LiveSearch
{
public:
    static constexpr std::chrono::milliseconds interval{500}; // between looks at the index's version

    // Any thread; both may block.
    struct Source {
        std::function<SearchResult(const QString &text)> find;    // for a trimmed text
        std::function<std::optional<qint64>()> version = nullptr; // see ShotStore; unset: the index never changes
    };
    using Deliver = std::function<void(const SearchResult &result, const QString &text)>;

    LiveSearch(TaskQueue &main, Source source, Deliver deliver);

    void search(const QString &text); // at once; its result is delivered in any case
    void watch(bool on);              // looks now and in intervals; without effect before the first search

    bool isUnderWay() const { return m_job.isUnderWay(); }

private:
    struct Answer {
        std::optional<qint64> version;
        std::optional<SearchResult> result; // std::nullopt if nothing has changed
    };
    static Answer ask(const Source &source, const QString &text, std::optional<qint64> known);

    void start(std::optional<qint64> known);
    void look();

    TaskQueue &m_main;
    const Source m_source;
    const Deliver m_deliver;
    std::optional<QString> m_text; // last searched
    std::optional<qint64> m_known; // the version of what was delivered last
    bool m_watching = false;
    Timer m_next;
    LatestJob m_job; // last, so that it ends first
};

} // namespace qm
