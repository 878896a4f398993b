#pragma once

#include "imaging/PictureReader.h"

#include <QString>

#include <optional>

namespace qm {

// Decodes pictures in a process of its own, for each picture another: whoever sent it, it can take over no more than that. A
// program that shows pictures but may do more than that names it; one that is confined itself decodes without.
namespace DecoderProcess {

// The program, qmdecode. From here on PictureReader leaves to it what is neither PNG nor JPEG, even if it cannot be started:
// such pictures are then unreadable. std::nullopt: everything is decoded here. Before the first picture is read.
void use(const std::optional<QString> &program);
bool isUsed();

// For the file at the path, like PictureReader::read, and some 20 ms slower. Any thread; blocks. When the sink has seen enough,
// or after five minutes, the process is ended.
Decoded read(const QString &path, const PictureReader::Wish &wish, RowSink &sink);

} // namespace DecoderProcess
} // namespace qm
