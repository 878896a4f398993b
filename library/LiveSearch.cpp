#include "library/LiveSearch.h"

namespace qm {

LiveSearch::LiveSearch(TaskQueue &main, Source source, Deliver deliver)
    : m_main(main)
    , m_source(std::move(source))
    , m_deliver(std::move(deliver))
{
}

void LiveSearch::search(const QString &text)
{
    m_text = text;
    start(std::nullopt);
}

void LiveSearch::watch(bool on)
{
    if (on == m_watching)
        return;
    m_watching = on;
    m_next.cancel();
    if (on)
        look();
}

void LiveSearch::look()
{
    m_next = m_main.postAfter(interval, [this] { look(); });
    if (m_text && m_source.version && !m_job.isUnderWay())
        start(m_known);
}

// The version is read first: what is committed in between is a change to be noticed the next time.
LiveSearch::Answer LiveSearch::ask(const Source &source, const QString &text, std::optional<qint64> known)
{
    Answer answer;
    if (source.version) {
        answer.version = source.version();
        if (!answer.version) { // locked, say: asking for the shots as well would wait as long again
            answer.result = SearchResult{.failed = true};
            return answer;
        }
        if (answer.version == known)
            return answer;
    }
    answer.result = source.find(text);
    if (answer.result->failed)
        answer.version.reset();
    return answer;
}

void LiveSearch::start(std::optional<qint64> known)
{
    m_job.start([source = m_source, text = *m_text, known] { return ask(source, text, known); },
                [this, text = *m_text](const Answer &answer) {
                    m_known = answer.version;
                    if (answer.result)
                        m_deliver(*answer.result, text);
                });
}

} // namespace qm
