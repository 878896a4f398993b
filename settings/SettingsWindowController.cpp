#include "settings/SettingsWindowController.h"

#include "settings/AboutView.h"
#include "settings/GeneralForm.h"
#include "ui/AppLocale.h"
#include "ui/Symbol.h"
#include "ui/WindowPlacement.h"

#include <QDialog>
#include <QEvent>
#include <QShortcut>
#include <QStyle>
#include <QTabWidget>
#include <QVBoxLayout>

namespace qm {

using AppLocale::text;

// A dialog for its keys: Escape closes, Return saves.
class SettingsWindow : public QDialog
{
public:
    SettingsWindow(TaskQueue &main, const std::function<void()> &changed, const KeyListener &listener)
        : m_tabs(new QTabWidget)
        , m_form(new GeneralForm(main, changed, listener))
    {
        setWindowFlags(Qt::Window);
        setWindowTitle(text(u"Quillmere Settings", u"Quillmere 設定"));
        m_tabs->addTab(m_form, text(u"Settings", u"設定"));
        m_tabs->addTab(new AboutView, text(u"About", u"このアプリについて"));
        m_tabs->setDocumentMode(true);
        auto *layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 6, 0, 0);
        layout->addWidget(m_tabs);
        auto *closing = new QShortcut(QKeySequence::Close, this);
        connect(closing, &QShortcut::activated, this, &QDialog::close);
        tintSymbols();
    }

    bool stop(std::chrono::milliseconds limit) { return m_form->stop(limit); }

protected:
    void changeEvent(QEvent *event) override
    {
        if (event->type() == QEvent::PaletteChange)
            tintSymbols();
        QDialog::changeEvent(event);
    }

private:
    void tintSymbols()
    {
        const QColor color = palette().color(QPalette::WindowText);
        m_tabs->setTabIcon(0, Symbol::icon(QStringLiteral("gearshape"), color));
        m_tabs->setTabIcon(1, Symbol::icon(QStringLiteral("info.circle"), color));
    }

    QTabWidget *m_tabs;
    GeneralForm *m_form;
};

SettingsWindowController::SettingsWindowController(TaskQueue &main, std::function<void()> changed, KeyListener listener)
    : m_main(main)
    , m_changed(std::move(changed))
    , m_listener(std::move(listener))
{
}

SettingsWindowController::~SettingsWindowController() = default;

void SettingsWindowController::show()
{
    if (!m_window) {
        m_window = std::make_unique<SettingsWindow>(m_main, m_changed, m_listener);
        const QSize room = WindowPlacement::activeScreenVisibleFrame().size() - QSize(40, 80);
        QSize size = m_window->sizeHint();
        if (size.height() > room.height()) // the scroll bar must not take width from the content
            size.rwidth() += m_window->style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, m_window.get());
        m_window->resize(size.boundedTo(room));
        WindowPlacement::placeOnActiveScreen(*m_window, 48);
    }
    if (m_window->isMinimized())
        m_window->showNormal();
    else
        m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

bool SettingsWindowController::stop(std::chrono::milliseconds limit)
{
    return !m_window || m_window->stop(limit);
}

} // namespace qm
