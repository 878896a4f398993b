#pragma once

#include "annotate/document/Annotation.h"

#include <QByteArray>

namespace qm {

// Items and crop as bytes (JSON), for drafts and the clipboard. The picture is not part of it. Any thread.
namespace ItemCodec {

struct Edits {
    QList<Annotation> items;
    std::optional<QRectF> crop;
};

QByteArray encode(const Edits &edits);
// std::nullopt for anything that encode() does not write, so that bytes of any origin may be given.
std::optional<Edits> decode(const QByteArray &bytes);

} // namespace ItemCodec
} // namespace qm
