#include "annotate/editor/EditorBars.h"

#include "ui/AppLocale.h"
#include "ui/SystemLook.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>

namespace qm {

StatusLine::StatusLine(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText); // a file name may contain <b>
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void StatusLine::setFailure(bool failure)
{
    m_failure = failure;
    update();
}

void StatusLine::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(m_failure ? SystemLook::warningText(palette()) : SystemLook::secondaryText(palette()));
    painter.drawText(rect(), Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(text(), Qt::ElideMiddle, width()));
}

static QPushButton *button(const QString &text, const std::function<void()> &action, QWidget *parent)
{
    auto *made = new QPushButton(QString(text).replace(u'&', QStringLiteral("&&")), parent);
    made->setAccessibleName(text);
    made->setFocusPolicy(Qt::TabFocus);
    QObject::connect(made, &QPushButton::clicked, parent, action);
    return made;
}

EditorStatusBar::EditorStatusBar(const EditorActions &actions, QWidget *parent)
    : QWidget(parent)
    , m_status(new StatusLine(this))
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(12, 8, 12, 8);
    row->setSpacing(8);
    row->addWidget(m_status, 1);
    row->addWidget(button(AppLocale::text(u"Save", u"保存"), actions.save, this));
    auto *copy = button(AppLocale::text(u"Annotate & Copy", u"注釈してコピー"), actions.copyAnnotated, this);
    copy->setDefault(true); // only for the look; the editor handles Return
    row->addWidget(copy);
    row->addWidget(button(AppLocale::text(u"Close", u"閉じる"), actions.close, this));
}

void EditorStatusBar::refresh(const EditorState &state)
{
    if (m_status->text() == state.statusText)
        return;
    m_status->setText(state.statusText);
    m_status->setFailure(state.statusIsFailure);
    m_status->setToolTip(QStringLiteral("<span>%1</span>").arg(state.statusText.toHtmlEscaped()));
    m_status->setAccessibleName(state.statusText);
}

} // namespace qm
