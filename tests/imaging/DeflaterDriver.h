#pragma once

#include "imaging/Deflater.h"

#include <QByteArray>

#include <cstring>

namespace qm {

// The bytes deflated, put into the deflater so many at a time, after so many zeros.
inline QByteArray deflatedInSteps(const QByteArray &bytes, int pixel, qint64 row, qsizetype step, qint64 position = 0)
{
    QByteArray out;
    Deflater deflater(
        pixel, row, size_t(step),
        [&](const uchar *part, size_t count) { out.append(reinterpret_cast<const char *>(part), qsizetype(count)); },
        position);
    for (qsizetype at = 0; at < bytes.size(); at += step) {
        const size_t count = size_t(qMin(step, bytes.size() - at));
        std::memcpy(deflater.room(), bytes.constData() + at, count);
        deflater.add(count);
    }
    deflater.finish();
    return out;
}

} // namespace qm
