#include "helpers/qmocr/Limits.h"

namespace qm::ocr {

Limits Limits::fromEnvironment()
{
    Limits limits;
    if (const int time = qEnvironmentVariableIntValue("QMOCR_TIME_LIMIT_MS"); time > 0)
        limits.time = std::chrono::milliseconds(time);
    if (const int memory = qEnvironmentVariableIntValue("QMOCR_MEMORY_LIMIT_MB"); memory > 0)
        limits.memory = quint64(memory) << 20;
    return limits;
}

} // namespace qm::ocr
