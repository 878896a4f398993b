#include "annotate/editor/AnnotationWindowController.h"

#include "annotate/editor/AnnotationView.h"
#include "annotate/editor/DraftsWindow.h"
#include "platform/QtQueue.h"
#include "ui/AppLocale.h"
#include "ui/WindowPlacement.h"

#include <QApplication>
#include <QFileInfo>

namespace qm {

static constexpr QSize largestAtFirst(940, 660), smallest(560, 420); // size of the content, points
static constexpr int topMargin = 48;

AnnotationWindowController::AnnotationWindowController()
{
    m_loading.setMaxThreadCount(1); // keeps the order
    Draft::removeOld();
}

AnnotationWindowController::~AnnotationWindowController()
{
    m_loading.clear();
    m_loading.waitForDone();
    for (const QPointer<AnnotationView> &window : std::as_const(m_windows))
        delete window;
    delete m_drafts;
}

void AnnotationWindowController::lookAtDrafts(std::function<void(const QList<Draft::Left> &)> seen)
{
    m_looking.start(
        [left = Draft::left()] {
            QList<Draft::Left> all;
            for (const Draft::Left &one : left)
                all << Draft::lookedAt(one);
            return all;
        },
        std::move(seen));
}

void AnnotationWindowController::offerDrafts()
{
    lookAtDrafts([this](const QList<Draft::Left> &left) {
        if (m_drafts || left.isEmpty())
            return;
        const auto update = [this](const QList<Draft::Left> &now) {
            if (m_drafts)
                m_drafts->setLeft(now);
        };
        m_drafts = new DraftsWindow([this](const QString &path) { open(path, Left::resume); },
                                    [this, update] { lookAtDrafts(update); });
        m_drafts->setLeft(left);
        WindowPlacement::placeOnActiveScreen(*m_drafts, topMargin);
        m_drafts->show();
    });
}

void AnnotationWindowController::open(const QString &path)
{
    open(path, Left::offer);
}

void AnnotationWindowController::open(const QString &path, Left left)
{
    const ImageFile::Result loaded = ImageFile::load(path);
    if (loaded.failure != ImageFile::Failure::busy)
        return show(path, loaded, left);
    m_loading.start([path, left, controller = QPointer(this)] {
        QtQueue::main().post([path, left, controller, later = ImageFile::load(path)] {
            if (controller)
                controller->show(path, later, left);
        });
    });
}

void AnnotationWindowController::show(const QString &path, const ImageFile::Result &loaded, Left left)
{
    if (loaded.failure != ImageFile::Failure::none) {
        if (m_drafts)
            m_drafts->decided(path);
        return QApplication::beep();
    }

    auto *window = new AnnotationView(AnnotationDoc{loaded.image, {}, {}}, path);
    QString name = QFileInfo(path).fileName();
    name.replace(QStringLiteral("[*]"), QStringLiteral("[*][*]")); // escaped: Qt's placeholder for unsaved changes
    window->setWindowTitle(AppLocale::text(u"Annotate — ", u"注釈 — ") + name);
    window->setAttribute(Qt::WA_QuitOnClose, false);

    const QSize room = WindowPlacement::activeScreenVisibleFrame().size();
    window->setMinimumSize(smallest);
    if (WindowPlacement::isOurs()) // elsewhere the desktop may make it as large as it likes
        window->setMaximumSize(QSize(room.width(), room.height() - 40).expandedTo(smallest));
    window->resize(QSize(room.width() - 120, room.height() - 160).boundedTo(largestAtFirst));
    WindowPlacement::placeOnActiveScreen(*window, topMargin);

    window->setAttribute(Qt::WA_DeleteOnClose);
    m_windows.removeAll(nullptr);
    m_windows << window;
    window->show();
    window->raise();
    window->activateWindow();
    left == Left::resume ? window->resumeDraft() : window->offerDraft();
    if (m_drafts)
        m_drafts->decided(path);
}

void AnnotationWindowController::askAll(std::function<void()> done)
{
    for (const QPointer<AnnotationView> &window : std::as_const(m_windows)) {
        if (!window || !window->isVisible() || !window->hasUnkeptEdits())
            continue;
        return window->askToClose([controller = QPointer(this), done = std::move(done)](bool closed) {
            if (closed && controller)
                controller->askAll(done);
        });
    }
    done();
}

void AnnotationWindowController::storeDrafts()
{
    for (const QPointer<AnnotationView> &window : std::as_const(m_windows)) {
        if (window)
            window->storeDraft();
    }
}

void AnnotationWindowController::endSession()
{
    for (const QPointer<AnnotationView> &window : std::as_const(m_windows)) {
        if (window)
            window->endSession();
    }
}

bool AnnotationWindowController::stop(std::chrono::milliseconds limit)
{
    m_loading.clear();
    return m_looking.stop(limit) && m_loading.waitForDone(int(limit.count()));
}

} // namespace qm
