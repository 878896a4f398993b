#include "settings/SettingsWindowController.h"

#include "app/base/AppLocale.h"
#include "config/ConfigStore.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

namespace qm {

SettingsWindowController::SettingsWindowController(std::function<void()> changed)
    : m_changed(std::move(changed))
{
}

SettingsWindowController::~SettingsWindowController() = default;

void SettingsWindowController::show()
{
    if (!m_window) {
        m_window = std::make_unique<QWidget>();
        m_window->setWindowTitle(AppLocale::text(u"Quillmere Settings", u"Quillmere 設定"));
        auto *layout = new QVBoxLayout(m_window.get());
        auto *hint = new QLabel(
            AppLocale::text(u"The settings are in this file:", u"設定は次のファイルにあります:") + u'\n' + ConfigStore::localFile());
        hint->setTextInteractionFlags(Qt::TextSelectableByMouse);
        layout->addWidget(hint);
        auto *apply = new QPushButton(AppLocale::text(u"Apply the trigger key", u"トリガーキーを反映"));
        QObject::connect(apply, &QPushButton::clicked, m_window.get(), m_changed);
        layout->addWidget(apply, 0, Qt::AlignRight);
    }
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

} // namespace qm
