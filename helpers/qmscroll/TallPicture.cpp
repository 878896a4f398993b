#include "helpers/qmscroll/TallPicture.h"

#include "config/UnfinishedPictures.h"
#include "imaging/AreaAverage.h"
#include "imaging/PngKernels.h"
#include "imaging/PngWriter.h"
#include "platform/DiskSync.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace qm {

static constexpr int thumbnailWidth = 160;
static constexpr int beyondRow = 32; // bytes that packing a row may write past its end

static QImage stacked(const QImage &above, const QImage &below, int rowsBelow)
{
    QImage both(below.width(), above.height() + rowsBelow, QImage::Format_RGB32);
    const size_t bytes = size_t(below.width()) * 4;
    for (int y = 0; y < both.height(); ++y) {
        const bool isAbove = y < above.height();
        std::memcpy(both.scanLine(y), isAbove ? above.constScanLine(y) : below.constScanLine(y - above.height()),
                    bytes);
    }
    return both;
}

// Averaging needs the height in advance, so the picture is shrunk in squares: each square becomes a square, and no
// pixel of the thumbnail crosses the border between two.
struct TallPicture::State {
    State(const QString &target, int width, double dpi, const State *other = nullptr);
    ~State();

    bool append(const QImage &rows);
    void shrink(const QImage &rows);
    QImage thumbnail() const;
    void keep(const QImage &below);
    void fail();
    bool complete();
    Outcome finish();
    Outcome moveToPath();

    const QString path;
    QFile file;
    std::optional<PngWriter> writer;
    QString failure; // the first one's reason; empty while there was none
    bool isComplete = false;
    int height = 0;

    const double dpi;
    const int width, shrunkWidth;
    std::vector<uchar> packed;
    std::optional<AreaAverage> average; // of the current square
    int squareHeight = 0;               // its rows so far
    QImage wholeSquares;                // the completed squares, shrunk
};

TallPicture::State::State(const QString &target, int w, double pointsPerInch, const State *other)
    : path(target)
    , dpi(pointsPerInch)
    , width(std::max(0, w))
    , shrunkWidth(std::min(width, thumbnailWidth))
    , packed(size_t(3 * width + beyondRow))
{
    PngWriter::Header header;
    header.width = width;
    header.dpi = dpi;
    if (other)
        UnfinishedPictures::beginForm(file, other->file);
    else
        UnfinishedPictures::begin(file, target);
    if (file.isOpen())
        writer.emplace(file, header);
    else
        failure = file.errorString();
}

TallPicture::State::~State()
{
    if (file.isOpen())
        file.remove();
}

void TallPicture::State::shrink(const QImage &rows)
{
    for (int y = 0; y < rows.height(); ++y) {
        if (!average)
            average.emplace(QSize(width, width), QSize(shrunkWidth, shrunkWidth), 3);
        PngKernels::best().pack(packed.data(), reinterpret_cast<const quint32 *>(rows.constScanLine(y)), width, 3);
        average->add(packed.data());
        if (++squareHeight < width)
            continue;
        wholeSquares = stacked(wholeSquares, average->result(), shrunkWidth);
        average.reset();
        squareHeight = 0;
    }
}

bool TallPicture::State::append(const QImage &rows)
{
    if (failure.isEmpty() && (rows.format() != QImage::Format_RGB32 || !writer->append(rows)))
        fail();
    if (!failure.isEmpty())
        return false;
    height += rows.height();
    shrink(rows);
    return true;
}

void TallPicture::State::keep(const QImage &below)
{
    if (failure.isEmpty() && !writer->keep(below))
        fail();
}

void TallPicture::State::fail()
{
    failure = file.errorString();
}

QImage TallPicture::State::thumbnail() const
{
    const int rows = width > 0 ? int(qint64(squareHeight) * shrunkWidth / width) : 0;
    return rows > 0 ? stacked(wholeSquares, average->result(), rows) : wholeSquares;
}

bool TallPicture::State::complete()
{
    if (failure.isEmpty() && !std::exchange(isComplete, true) && !writer->finish())
        fail();
    return failure.isEmpty();
}

Outcome TallPicture::State::finish()
{
    if (!complete())
        height = writer ? writer->fallBack() : 0;
    writer.reset();
    if (height > 0) {
        if (const Outcome moved = moveToPath(); !moved) {
            file.close(); // it is left for UnfinishedPictures
            height = 0;
            return moved;
        }
    }
    return failure.isEmpty() ? Outcome::success() : Outcome::failure(failure);
}

Outcome TallPicture::State::moveToPath()
{
    // What was kept once may have been longer.
    if (!file.resize(file.pos()))
        return Outcome::failure(file.errorString());
    const QByteArray from = QFile::encodeName(file.fileName()), to = QFile::encodeName(path);
    if (!DiskSync::content(file.handle()) || std::rename(from.constData(), to.constData()) != 0)
        return Outcome::failure(qt_error_string(errno));
    file.close();
    DiskSync::names(path);
    return Outcome::success();
}

TallPicture::TallPicture(const QString &path, int width, double dpi)
    : m_state(std::make_unique<State>(path, width, dpi))
{
}

TallPicture::TallPicture(const TallPicture &other, int width)
    : m_state(std::make_unique<State>(other.m_state->path, width, other.m_state->dpi, other.m_state.get()))
{
}

TallPicture::~TallPicture() = default;

bool TallPicture::append(const QImage &rows)
{
    return m_state->append(rows);
}

void TallPicture::keep(const QImage &below)
{
    m_state->keep(below);
}

int TallPicture::height() const
{
    return m_state->height;
}

QImage TallPicture::thumbnail() const
{
    return m_state->thumbnail();
}

bool TallPicture::complete()
{
    return m_state->complete();
}

Outcome TallPicture::finish()
{
    return m_state->finish();
}

} // namespace qm
