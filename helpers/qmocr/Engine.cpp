#include "helpers/qmocr/Engine.h"

#include "helpers/qmocr/Text.h"

#include <QStringList>

#include <allheaders.h>
#include <tesseract/baseapi.h>

#include <cmath>
#include <string>
#include <vector>

namespace qm::ocr {

using tesseract::TessBaseAPI;

static bool load(TessBaseAPI &api, const QString &languages)
{
    // The library's own output stays on standard error. Any other file it opens with the first line, and from 5.5 on crashes
    // where it may not.
    return api.Init(nullptr, languages.toUtf8().constData(), tesseract::OEM_LSTM_ONLY) == 0;
}

static QStringList installed(TessBaseAPI &api)
{
    std::vector<std::string> names;
    api.GetAvailableLanguagesAsVector(&names); // filled in by any Init attempt, even a failed one
    QStringList languages;
    for (const std::string &name : names)
        languages += QString::fromStdString(name);
    return languages;
}

// What else can read horizontal text.
static QStringList others(QStringList installed)
{
    installed.removeAll(QStringLiteral("osd")); // detects orientation, reads nothing
    installed.removeIf([](const QString &name) { return name.endsWith(u"_vert"); });
    return installed;
}

// The set, without parts that are not installed.
static QString available(const QString &set, const QStringList &installed)
{
    QStringList parts = set.split(u'+', Qt::SkipEmptyParts);
    parts.removeIf([&](const QString &part) { return !installed.contains(part); });
    return parts.join(u'+');
}

Engine::Engine(const QStringList &languageSets, Layout layout)
    : m_api(new TessBaseAPI)
    , m_layout(layout)
{
    load(*m_api, languageSets.first());
    const QStringList found = installed(*m_api);
    for (const QString &set : languageSets + (layout == Layout::columns ? QStringList() : others(found))) {
        const QString languages = available(set, found);
        m_ready = !languages.isEmpty() && load(*m_api, languages);
        if (m_ready)
            break;
    }
    if (!m_ready)
        return;
    m_api->SetVariable("tessedit_do_invert", "0"); // pictures are made dark on light before
    m_api->SetVariable("preserve_interword_spaces", "1");
}

Engine::~Engine() = default;

// The picture as Leptonica's own type.
static Pix *scaled(const QImage &gray, double scale)
{
    Pix *pix = pixCreate(gray.width(), gray.height(), 8);
    if (!pix)
        return nullptr;
    for (int y = 0; y < gray.height(); ++y) {
        const uchar *in = gray.constScanLine(y);
        l_uint32 *out = pixGetData(pix) + size_t(y) * pixGetWpl(pix);
        for (int x = 0; x < gray.width(); ++x)
            SET_DATA_BYTE(out, x, in[x]);
    }
    if (scale == 1)
        return pix;
    Pix *result =
        scale > 1 ? pixScaleGrayLI(pix, float(scale), float(scale)) : pixScaleAreaMap(pix, float(scale), float(scale));
    pixDestroy(&pix);
    return result;
}

// The symbols of the line at which the iterator stands; it is left at the first symbol of the next line.
static QList<Symbol> symbolsOfLine(tesseract::ResultIterator &it, tesseract::PageIteratorLevel boxed, double scale,
                                   bool *more)
{
    QList<Symbol> symbols;
    do {
        const std::unique_ptr<char[]> text(it.GetUTF8Text(tesseract::RIL_SYMBOL));
        int left = 0, top = 0, right = 0, bottom = 0;
        if (text && it.BoundingBox(boxed, &left, &top, &right, &bottom)) {
            const bool beginsWord = it.IsAtBeginningOf(tesseract::RIL_WORD);
            symbols += {.text = QString::fromUtf8(text.get()),
                        .box = {left / scale, top / scale, (right - left) / scale, (bottom - top) / scale},
                        .beginsWord = beginsWord,
                        .blankBefore = beginsWord && it.BlanksBeforeWord() > 0,
                        .confidence = double(it.Confidence(tesseract::RIL_WORD))};
        }
        *more = it.Next(tesseract::RIL_SYMBOL);
    } while (*more && !it.IsAtBeginningOf(tesseract::RIL_TEXTLINE));
    return symbols;
}

static QList<Line> linesOf(TessBaseAPI &api, double scale)
{
    QList<Line> lines;
    if (api.Recognize(nullptr) != 0)
        return lines;
    const std::unique_ptr<tesseract::ResultIterator> it(api.GetIterator());
    // What it says of single symbols is nonsense where they stand in columns.
    const bool inColumns = api.GetPageSegMode() == tesseract::PSM_SINGLE_BLOCK_VERT_TEXT;
    const tesseract::PageIteratorLevel boxed = inColumns ? tesseract::RIL_WORD : tesseract::RIL_SYMBOL;
    for (bool more = it && !it->Empty(tesseract::RIL_SYMBOL); more;)
        if (const std::optional<Line> line = lineOf(symbolsOfLine(*it, boxed, scale, &more)))
            lines += *line;
    return lines;
}

QList<Line> Engine::read(const QImage &gray, double scale)
{
    Pix *pix = m_ready && !gray.isNull() ? scaled(gray, scale) : nullptr;
    if (!pix)
        return {};
    m_api->SetPageSegMode(m_layout == Layout::columns ? tesseract::PSM_SINGLE_BLOCK_VERT_TEXT
                                                      : tesseract::PSM_SPARSE_TEXT);
    m_api->SetImage(pix);
    pixDestroy(&pix); // the engine holds its own reference
    const QList<Line> lines = linesOf(*m_api, scale);
    m_api->Clear();
    return lines;
}

QList<QList<Symbol>> Engine::readRows(const QImage &gray, double scale, const QList<QRect> &areas)
{
    QList<QList<Symbol>> read(areas.size());
    Pix *pix = m_ready && !gray.isNull() ? scaled(gray, scale) : nullptr;
    if (!pix)
        return read;
    m_api->SetPageSegMode(tesseract::PSM_SINGLE_LINE);
    m_api->SetImage(pix);
    const QRect whole(0, 0, pixGetWidth(pix), pixGetHeight(pix));
    pixDestroy(&pix);
    for (qsizetype i = 0; i < areas.size(); ++i) {
        const QRectF area(areas[i]);
        const QRect part = QRectF(area.topLeft() * scale, area.size() * scale).toAlignedRect() & whole;
        if (part.isEmpty())
            continue;
        m_api->SetRectangle(part.x(), part.y(), part.width(), part.height());
        const QList<Line> lines = linesOf(*m_api, scale);
        for (const Line &line : lines)
            read[i] += line.symbols;
    }
    m_api->Clear();
    return read;
}

} // namespace qm::ocr
