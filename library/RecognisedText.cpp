#include "library/RecognisedText.h"

#include "library/LibraryLook.h"
#include "ui/AppLocale.h"

#include <QKeyEvent>
#include <QScrollBar>
#include <QTextBlock>

#include <algorithm>
#include <cmath>

namespace qm {

static constexpr int maxLines = 5;
static constexpr int padding = 4;             // points
static constexpr int maxMarks = 500;          // more than anybody looks at
static constexpr qsizetype maxUnits = 60'000; // text layout runs on this thread; this much is many pages

RecognisedText::RecognisedText(QWidget *parent)
    : QPlainTextEdit(parent)
{
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setUndoRedoEnabled(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(NoFrame);
    setFont(LibraryLook::caption(font()));
    document()->setDocumentMargin(0);
    setViewportMargins(padding, padding, padding, padding); // does not scroll: no part of another line is seen
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(AppLocale::text(u"Recognised text", u"認識されたテキスト"));
}

void RecognisedText::setContent(const QString &text, const QStringList &terms)
{
    if (text == m_text && terms == m_terms)
        return;
    m_looking.drop();
    m_terms = terms;
    if (text != m_text) {
        m_text = text;
        m_marks.clear();
        setPlainText(text.left(maxUnits));
        showMarks();
        fitHeight();
        verticalScrollBar()->setValue(0);
    }
    if (text.isEmpty() || terms.isEmpty())
        return setMarks({});
    m_looking.start([text = text.left(maxUnits), terms] { return TextMatch::findAll(text, terms, maxMarks); },
                    [this](const QList<TextMatch::Range> &marks) { setMarks(marks); });
}

void RecognisedText::setMarks(const QList<TextMatch::Range> &marks)
{
    m_marks = marks;
    showMarks();
    if (onMarks)
        onMarks();
}

void RecognisedText::reveal(const TextMatch::Range &range)
{
    select({range.start, 0});
    centerCursor();
}

void RecognisedText::select(const TextMatch::Range &range)
{
    const qsizetype last = document()->characterCount() - 1; // a long text is cut
    QTextCursor cursor(document());
    cursor.setPosition(int(std::min(range.start, last)));
    cursor.setPosition(int(std::min(range.start + range.length, last)), QTextCursor::KeepAnchor);
    setTextCursor(cursor);
}

void RecognisedText::showMarks()
{
    QList<QTextEdit::ExtraSelection> selections;
    for (const TextMatch::Range &mark : m_marks) {
        QTextCursor cursor(document());
        cursor.setPosition(int(mark.start));
        cursor.setPosition(int(mark.start + mark.length), QTextCursor::KeepAnchor);
        QTextCharFormat format;
        format.setBackground(LibraryLook::marked(palette()));
        selections << QTextEdit::ExtraSelection{cursor, format};
    }
    setExtraSelections(selections);
}

void RecognisedText::fitHeight()
{
    const QFontMetricsF metrics(font());
    const double width = std::max(1, viewport()->width());
    double lines = 0;
    for (QTextBlock block = document()->begin(); block.isValid() && lines < maxLines; block = block.next())
        lines += std::max(1.0, std::ceil(metrics.horizontalAdvance(block.text().left(1000)) / width));
    const double text = std::ceil(std::min(lines, double(maxLines)) * metrics.lineSpacing());
    const int height = int(text) + 2 * (padding + frameWidth());
    if (height != minimumHeight())
        setFixedHeight(height);
}

void RecognisedText::keyPressEvent(QKeyEvent *event)
{
    const bool nothingToCopy = event == QKeySequence::Copy && !textCursor().hasSelection();
    const bool typed = !event->text().isEmpty() && event->text().front().isPrint();
    const int key = event->key();
    if (nothingToCopy || typed || key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Escape)
        event->ignore(); // leave it to the window
    else
        QPlainTextEdit::keyPressEvent(event);
}

void RecognisedText::resizeEvent(QResizeEvent *event)
{
    QPlainTextEdit::resizeEvent(event);
    fitHeight();
}

void RecognisedText::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        showMarks();
}

} // namespace qm
