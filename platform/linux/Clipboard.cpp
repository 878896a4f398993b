#include "platform/Clipboard.h"

#include "platform/linux/DataControl.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace qm {

// On Wayland, only the program with the keyboard's focus may use the ordinary clipboard, and what others set is dropped
// silently. Compositors that have data control let clipboard tools do without the focus.
void Clipboard::set(QMimeData *content)
{
    if (DataControl *control = DataControl::shared())
        control->set(std::unique_ptr<QMimeData>(content));
    else
        QGuiApplication::clipboard()->setMimeData(content);
}

void Clipboard::setText(const QString &text)
{
    auto *content = new QMimeData;
    content->setText(text);
    set(content);
}

bool Clipboard::holds(const QMimeData *content)
{
    if (DataControl *control = DataControl::shared())
        return control->holds(content);
    return content && content == QGuiApplication::clipboard()->mimeData();
}

void Clipboard::clear()
{
    if (DataControl *control = DataControl::shared())
        control->set(nullptr);
    else
        QGuiApplication::clipboard()->clear();
}

} // namespace qm
