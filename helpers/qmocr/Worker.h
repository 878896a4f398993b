#pragma once

#include <QString>

namespace qm::ocr {

// A worker process: reads requests from its standard input one by one, replies on its standard output (see WireFormat.h),
// ends when its input does. A worker may die of a picture at any time; that is what it is for.
int runWorker(const QString &languages, quint64 memoryLimit);

} // namespace qm::ocr
