#include "annotate/editor/AnnotationWindowController.h"

#include "annotate/editor/AnnotationView.h"
#include "platform/QtQueue.h"
#include "ui/AppLocale.h"
#include "ui/WindowPlacement.h"

#include <QApplication>
#include <QFileInfo>

#include <algorithm>

namespace qm {

static constexpr QSize largestAtFirst(940, 660), smallest(560, 420); // size of the content, points
static constexpr int topMargin = 48;

AnnotationWindowController::AnnotationWindowController()
{
    m_loading.setMaxThreadCount(1); // keeps the order
}

AnnotationWindowController::~AnnotationWindowController()
{
    m_loading.clear();
    m_loading.waitForDone();
    for (const QPointer<QWidget> &window : m_earlier)
        delete window;
}

void AnnotationWindowController::open(const QString &path)
{
    const ImageFile::Result loaded = ImageFile::load(path);
    if (loaded.failure != ImageFile::Failure::busy)
        return show(path, loaded);
    m_loading.start([path, controller = QPointer(this)] {
        QtQueue::main().post([path, controller, later = ImageFile::load(path)] {
            if (controller)
                controller->show(path, later);
        });
    });
}

void AnnotationWindowController::show(const QString &path, const ImageFile::Result &loaded)
{
    if (loaded.failure != ImageFile::Failure::none)
        return QApplication::beep();

    // Always closes the window opened last, even when called from another one.
    const auto onClose = [controller = QPointer(this)] {
        if (controller && controller->m_window)
            controller->m_window->close();
    };
    auto window = std::make_unique<AnnotationView>(AnnotationDoc{loaded.image, {}, {}}, path, onClose);
    QString name = QFileInfo(path).fileName();
    name.replace(QStringLiteral("[*]"), QStringLiteral("[*][*]")); // escaped: Qt's placeholder for unsaved changes
    window->setWindowTitle(AppLocale::text(u"Annotate — ", u"注釈 — ") + name);
    window->setAttribute(Qt::WA_QuitOnClose, false);

    const QSize room = WindowPlacement::activeScreenVisibleFrame().size();
    window->setMinimumSize(smallest);
    window->setMaximumSize(QSize(room.width(), room.height() - 40).expandedTo(smallest));
    window->resize(QSize(room.width() - 120, room.height() - 160).boundedTo(largestAtFirst));
    WindowPlacement::placeOnActiveScreen(*window, topMargin);

    letGo();
    m_window = std::move(window);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

// Leaves the current window open on its own until it is closed.
void AnnotationWindowController::letGo()
{
    m_earlier.removeAll(nullptr);
    if (!m_window || !m_window->isVisible()) {
        m_window.reset();
        return;
    }
    m_window->setAttribute(Qt::WA_DeleteOnClose);
    m_earlier << m_window.release();
}

} // namespace qm
