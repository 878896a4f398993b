#pragma once

#include "platform/Outcome.h"

#include <QString>

class QSaveFile;

namespace qm {

// What was reported as saved outlives a power cut: a new file is synced before it gets its name, and then the folder that holds
// the name (fsync(2), "Notes"). Any thread; each takes milliseconds, on a busy disk more.
namespace DiskSync {

// Waits until the content of the open file is on the disk (on macOS, in the drive's own cache). False if the system could not write it; true also where a file
// system knows no such thing.
bool content(int descriptor);

// The same for the names in the folder of path, after one was added or replaced. As far as the system can: the content is
// safe by then, under whatever name.
void names(const QString &path);

// Both, around giving the file its name. On failure the old file is untouched.
Outcome commit(QSaveFile &file);

} // namespace DiskSync
} // namespace qm
