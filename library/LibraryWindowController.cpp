#include "library/LibraryWindowController.h"

#include "app/base/AppLocale.h"

#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

namespace qm {

LibraryWindowController::LibraryWindowController() = default;
LibraryWindowController::~LibraryWindowController() = default;

void LibraryWindowController::show()
{
    if (!m_window) {
        m_window = std::make_unique<QWidget>();
        m_window->setWindowTitle(AppLocale::text(u"Quillmere Library", u"Quillmere ライブラリ"));
        auto *layout = new QVBoxLayout(m_window.get());
        auto *hint = new QLabel(AppLocale::text(u"Search from a terminal for now:\nqms search TEXT",
                                                u"今のところ、検索は端末から行えます:\nqms search 文字列"));
        hint->setTextInteractionFlags(Qt::TextSelectableByMouse);
        hint->setAlignment(Qt::AlignCenter);
        layout->addWidget(hint);
        m_window->resize(480, 240);
    }
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

} // namespace qm
