#include "settings/CommandBox.h"

#include "ui/AppLocale.h"

#include <QClipboard>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

namespace qm {

static constexpr int spare = 6;      // points, without which a bar is shown
static constexpr int linesShown = 3; // without scrolling

CommandBox::CommandBox()
    : m_where(new QLabel)
    , m_lines(new QPlainTextEdit)
{
    m_where->setWordWrap(true);
    m_lines->setReadOnly(true);
    m_lines->setTabChangesFocus(true);
    m_lines->setWordWrapMode(QTextOption::WrapAnywhere);
    m_lines->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_lines->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    const int frame = m_lines->frameWidth() + int(m_lines->document()->documentMargin());
    m_lines->setFixedHeight(linesShown * m_lines->fontMetrics().lineSpacing() + 2 * frame + spare);
    auto *button = new QPushButton(AppLocale::text(u"Copy", u"コピー"));
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, [this] { copy(); });

    auto *row = new QHBoxLayout;
    row->addWidget(m_lines, 1);
    row->addWidget(button, 0, Qt::AlignTop);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 4, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_where);
    layout->addLayout(row);
}

void CommandBox::set(const QString &where, const QString &lines)
{
    if (m_where->text() == where && m_lines->toPlainText() == lines)
        return; // a selection stays
    m_where->setText(where);
    m_lines->setAccessibleName(where);
    m_lines->setPlainText(lines);
}

void CommandBox::copy()
{
    QGuiApplication::clipboard()->setText(m_lines->toPlainText());
}

} // namespace qm
