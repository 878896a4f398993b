#include "helpers/qmocr/TextReader.h"

#include "helpers/qmocr/Preprocess.h"
#include "helpers/qmocr/Slices.h"
#include "helpers/qmocr/Text.h"

namespace qm::ocr {

static QStringList setsFor(const QString &languages, const QStringList &otherwise)
{
    return languages.isEmpty() ? otherwise : QStringList(languages);
}

// The script data "Japanese" reads Latin too, and better than the two languages together; its name depends on the
// distribution.
TextReader::TextReader(const QString &languages)
    : m_first(setsFor(languages,
                      {QStringLiteral("Japanese"), QStringLiteral("script/Japanese"), QStringLiteral("eng+jpn")}),
              Engine::Layout::sparse, Engine::Invert::no)
    , m_second(setsFor(languages, {QStringLiteral("eng+jpn")}), Engine::Layout::block, Engine::Invert::yes)
{
}

template<class Prepare>
static QList<Line> readBySlices(Engine &engine, const QImage &gray, const Prepare &prepare)
{
    const QList<QRect> pieces = slices(gray);
    QList<QList<Line>> read;
    for (const QRect &piece : pieces) {
        const QImage part = prepare(gray.copy(piece));
        QList<Line> lines = engine.read(part, readingScale(textHeight(part), part.size()));
        for (Line &line : lines)
            line.translate(piece.topLeft());
        read += lines;
    }
    return joined(pieces, read);
}

QList<Line> TextReader::first(const QImage &gray)
{
    return readBySlices(m_first, gray, normalised);
}

QList<Line> TextReader::second(const QImage &gray, const QList<Line> &first)
{
    return merged(first, readBySlices(m_second, gray, [](const QImage &part) { return part; }));
}

} // namespace qm::ocr
