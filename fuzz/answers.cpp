// A libFuzzer target: what qmocr answers is read as data, and so is what the index keeps of it. Places that are believed lie
// within their text, one after the other, and survive being kept. The input is an answer, or if it begins with a zero byte what
// the index keeps of the places in the text that follows up to the next one.

#include "index/OcrRunner.h"

#include <QtEndian>

#include <cstdlib>

using namespace qm;

static void check(const TextBoxes &boxes, const QString &text)
{
    qsizetype end = 0;
    for (const TextBoxes::Word &word : boxes.words) {
        if (word.start < end || word.length <= 0 || word.start + word.length > text.size() || word.box.isEmpty())
            std::abort();
        end = word.start + word.length;
    }
    for (const QRectF &box : boxes.boxesOf(text.size() / 3, text.size() / 2)) {
        if (!(box.width() > 0 && box.height() > 0))
            std::abort();
    }
    if (TextBoxes::unpacked(boxes.packed(text), text) != boxes)
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    if (!bytes.startsWith('\0')) {
        for (const OcrRunner::Answer &answer : OcrRunner::parseNdjson(bytes)) {
            if (answer.boxes)
                check(*answer.boxes, answer.text.value());
        }
        return 0;
    }
    const qsizetype parted = bytes.indexOf('\0', 1);
    const QString text = QString::fromUtf8(bytes.sliced(1, (parted < 0 ? bytes.size() : parted) - 1));
    // The checksum of the text, which nobody would guess, comes first; then the lengths of seven runs of numbers.
    const QByteArray sum = qUncompress(TextBoxes().packed(text)).left(3);
    if (const auto boxes =
            TextBoxes::unpacked(qCompress(sum + (parted < 0 ? QByteArray() : bytes.mid(parted + 1)), 1), text))
        check(*boxes, text);
    return 0;
}
