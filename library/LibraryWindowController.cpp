#include "library/LibraryWindowController.h"

#include "index/ShotStore.h"
#include "library/LibraryView.h"
#include "platform/QtQueue.h"
#include "ui/AppLocale.h"
#include "ui/WindowPlacement.h"

namespace qm {

static constexpr QSize contentSize = {820, 560}; // points
static constexpr QSize minimumContentSize = {720, 480};
static constexpr int topMargin = 48;

LibraryWindowController::LibraryWindowController(std::function<void(const QString &)> annotate)
    : m_annotate(std::move(annotate))
{
}

LibraryWindowController::~LibraryWindowController() = default;

void LibraryWindowController::show()
{
    if (!m_window) {
        m_window = std::make_unique<LibraryView>(LibraryView::Environment{
            QtQueue::main(),
            {&LibraryView::findInIndex, &ShotStore::version},
            m_annotate,
            ThumbnailCache::shared(),
            Workspace::trash,
            {&ShotStore::places, [](qint64 id) { OcrIndexer::shared().readAgain(id); }},
        });
        m_window->setReading(m_reading);
        m_window->setWindowTitle(AppLocale::text(u"Quillmere Library", u"Quillmere ライブラリ"));
        m_window->resize(contentSize);
        m_window->setMinimumSize(minimumContentSize);
        WindowPlacement::placeOnActiveScreen(*m_window, topMargin);
    }
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void LibraryWindowController::setReading(const ReadingProgress &reading)
{
    m_reading = reading;
    if (m_window)
        m_window->setReading(reading);
}

} // namespace qm
