#include "settings/FolderField.h"

#include "ui/AppLocale.h"
#include "ui/SystemLook.h"

#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace qm {

QString withTilde(const QString &path)
{
    const QString home = QDir::homePath();
    if (path == home)
        return QStringLiteral("~");
    return path.startsWith(home + u'/') ? u'~' + path.sliced(home.size()) : path;
}

FolderField::FolderField(const QString &name, std::function<void(const QString &)> changed,
                         std::function<void()> committed)
    : m_name(name)
    , m_changed(std::move(changed))
    , m_committed(std::move(committed))
    , m_edit(new QLineEdit)
    , m_warning(new QLabel)
{
    auto *choose = new QPushButton(AppLocale::text(u"Choose…", u"選択…"));
    choose->setAutoDefault(false);
    choose->setAccessibleName(AppLocale::text(u"Choose a folder: ", u"フォルダーを選択: ") + name);
    m_edit->setAccessibleName(name);
    m_edit->setMinimumWidth(320);

    auto *row = new QHBoxLayout;
    row->addWidget(m_edit, 1);
    row->addWidget(choose);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addLayout(row);
    layout->addWidget(m_warning);
    m_warning->hide();
    setFocusProxy(m_edit);
    applyPalette();

    connect(m_edit, &QLineEdit::textEdited, this, m_changed);
    connect(m_edit, &QLineEdit::editingFinished, this, [this] { commit(); });
    connect(choose, &QPushButton::clicked, this, [this] { this->choose(); });
}

void FolderField::setText(const QString &text)
{
    m_edit->setToolTip(text); // long paths do not fit
    if (m_edit->text() == text)
        return; // keeps the user's cursor position
    m_edit->setText(text);
    m_edit->setCursorPosition(0);
}

void FolderField::setPlaceholder(const QString &text)
{
    m_edit->setPlaceholderText(text);
}

void FolderField::setWarning(const QString &text)
{
    m_warning->setText(text);
    m_warning->setVisible(!text.isEmpty());
    m_edit->setAccessibleDescription(text);
}

// Pasted paths often have blanks at their ends.
void FolderField::commit()
{
    if (const QString trimmed = m_edit->text().trimmed(); trimmed != m_edit->text())
        m_changed(trimmed);
    m_committed();
}

void FolderField::choose()
{
    const QString chosen =
        QFileDialog::getExistingDirectory(this, m_name, m_chooserFolder ? m_chooserFolder() : QDir::homePath());
    if (chosen.isEmpty())
        return;
    m_changed(withTilde(chosen)); // the home folder has another name on the next machine
    m_committed();
}

void FolderField::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        applyPalette();
    QWidget::changeEvent(event);
}

// The placeholder states a fact, not a hint: the system's grey for hints is too faint.
void FolderField::applyPalette()
{
    QPalette changed;
    changed.setColor(QPalette::PlaceholderText, SystemLook::secondaryText(palette()));
    m_edit->setPalette(changed);
    QPalette warning;
    warning.setColor(QPalette::WindowText, SystemLook::warningText(palette()));
    m_warning->setPalette(warning);
}

} // namespace qm
