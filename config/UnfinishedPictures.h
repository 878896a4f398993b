#pragma once

#include <QString>
#include <QStringList>

class QFile;

namespace qm {

// A picture that takes long lies in a hidden file beside its place, locked for as long as the process lives that makes it,
// and whole as far as it goes. If that process was killed, the next one to look makes a picture of it. Any thread; takes
// as long as the folder does.
namespace UnfinishedPictures {

// Makes such a file, and opens it for writing without a buffer. On failure the file is not open and says why.
void begin(QFile &file, const QString &picture);

// The same for another form of a picture that has such a file already, better or made anew: only one of them becomes a
// picture.
void beginForm(QFile &file, const QFile &other);

// Gives those in the folder whose process is gone their names, or similar ones where these are taken. Returns the paths.
// Of several forms the one with the most rows, of such the latest.
QStringList complete(const QString &folder);

} // namespace UnfinishedPictures
} // namespace qm
