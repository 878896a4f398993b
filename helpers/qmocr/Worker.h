#pragma once

#include "helpers/qmocr/Line.h"

#include <QString>

namespace qm::ocr {

// A worker process: reads requests from standard input one by one, replies on standard output (see WireFormat.h), and
// exits when its input ends. A picture may kill a worker at any time; that is what workers are for.
int runWorker(const QString &languages, quint64 memoryLimit, Boxes boxes);

} // namespace qm::ocr
