#include "annotate/editor/TextEntry.h"

#include "ui/AppLocale.h"
#include "ui/SystemLook.h"

#include <QKeyEvent>

namespace qm {

TextEntry::TextEntry(const QString &text, QWidget *parent)
    : QLineEdit(text, parent)
{
    QFont font = SystemLook::semiboldFont();
    font.setPixelSize(16);
    setFont(font);
    // Black on white regardless of the desktop's colours, since it lies on the picture.
    QPalette colors = palette();
    colors.setColor(QPalette::Base, Qt::white);
    colors.setColor(QPalette::Text, Qt::black);
    colors.setColor(QPalette::PlaceholderText, Qt::gray);
    setPalette(colors);
    setTextMargins(0, -2, 0, -2); // Japanese glyphs are as tall as the field inside its border
    setAccessibleName(AppLocale::text(u"Text", u"テキスト"));
    resize(standardSize);
}

void TextEntry::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        event->accept();
        if (onReturn)
            onReturn();
        return;
    }
    QLineEdit::keyPressEvent(event);
    event->setAccepted(event->key() != Qt::Key_Escape);
}

} // namespace qm
