#include "platform/Clipboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace qm {

void Clipboard::set(QMimeData *content)
{
    QGuiApplication::clipboard()->setMimeData(content);
}

void Clipboard::setText(const QString &text)
{
    QGuiApplication::clipboard()->setText(text);
}

bool Clipboard::holds(const QMimeData *content)
{
    return content && content == QGuiApplication::clipboard()->mimeData();
}

void Clipboard::clear()
{
    QGuiApplication::clipboard()->clear();
}

} // namespace qm
