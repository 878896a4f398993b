#include "bench/Rendered.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRandomGenerator>

#include <vector>

namespace qm {

namespace {

const QStringList vocabulary =
    QStringLiteral(
        "the screen of a meeting when notes are written down and every picture that was taken last week can be found "
        "by its "
        "words revenue rose costs fell while 12.4 % growth in March please review attached draft before Thursday send "
        "remarks team window settings folder search library capture region error 404 OK Cancel")
        .split(QLatin1Char(' '));
const QStringList clauses = {QStringLiteral("スクリーンショットを撮影して"),
                             QStringLiteral("文字を検索できます"),
                             QStringLiteral("本日の会議は"),
                             QStringLiteral("午後三時から第二会議室で行います"),
                             QStringLiteral("資料を忘れずにお持ちください"),
                             QStringLiteral("設定を変更すると"),
                             QStringLiteral("次の起動から有効になります"),
                             QStringLiteral("画像を編集して保存する"),
                             QStringLiteral("フォルダーで表示"),
                             QStringLiteral("注釈してコピー")};
const QStringList code = {
    QStringLiteral("for (int row = 0; row < image.height(); ++row) {"),
    QStringLiteral("    const uchar *line = image.constScanLine(row);"),
    QStringLiteral("    if (std::memcmp(line, above, stride) == 0)"),
    QStringLiteral("        continue; // the same as before"),
    QStringLiteral("    total += checksum(line, stride);"),
    QStringLiteral("}"),
    QStringLiteral("return total & 0xffff;"),
};
constexpr QSizeF tile(1440, 900); // points of screen for each set of windows

class Painting
{
public:
    // Wide screens have two pixels a point, as they do on desks.
    explicit Painting(QImage &image)
        : m_painter(&image)
        , m_scale(image.width() > 2000 ? 2 : 1)
        , m_size(QSizeF(image.size()) / m_scale)
    {
        m_painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
        m_painter.scale(m_scale, m_scale);
    }

    void paint()
    {
        QLinearGradient wallpaper(0, 0, m_size.width(), m_size.height());
        wallpaper.setColorAt(0, QColor(28, 64, 120));
        wallpaper.setColorAt(0.6, QColor(96, 72, 140));
        wallpaper.setColorAt(1, QColor(200, 120, 110));
        m_painter.fillRect(QRectF({0, 0}, m_size), wallpaper);
        for (double y = 0; y + 300 < m_size.height(); y += tile.height()) {
            for (double x = 0; x + 300 < m_size.width(); x += tile.width()) {
                editor(QRectF(x + 60, y + 60, 760, 740));
                table(QRectF(x + 700, y + 110, 660, 420));
                terminal(QRectF(x + 620, y + 480, 560, 340));
            }
        }
        menuBar();
        dock();
    }

private:
    void text(QPointF at, const QString &words, double size, QColor colour, const char *family = "Noto Sans CJK JP")
    {
        QFont font(QString::fromLatin1(family));
        font.setPixelSize(int(size));
        m_painter.setFont(font);
        m_painter.setPen(colour);
        m_painter.drawText(at, words);
    }

    QString sentence(bool japanese)
    {
        QString text;
        while (text.size() < (japanese ? 36 : 70)) {
            const QStringList &from = japanese ? clauses : vocabulary;
            text += from[m_random.bounded(int(from.size()))] + (japanese ? QStringLiteral("、") : QStringLiteral(" "));
        }
        return text;
    }

    void window(QRectF frame, const QString &title, QColor background, QColor bar)
    {
        for (int i = 12; i > 0; --i) { // a soft shadow
            m_painter.setPen(Qt::NoPen);
            m_painter.setBrush(QColor(0, 0, 0, 6));
            m_painter.drawRoundedRect(frame.adjusted(-i, -i + 4, i, i + 6), 10 + i, 10 + i);
        }
        QPainterPath shape;
        shape.addRoundedRect(frame, 9, 9);
        m_painter.fillPath(shape, background);
        m_painter.save();
        m_painter.setClipPath(shape);
        m_painter.fillRect(QRectF(frame.topLeft(), QSizeF(frame.width(), 28)), bar);
        m_painter.restore();
        const QColor buttons[] = {QColor(255, 95, 87), QColor(254, 188, 46), QColor(40, 200, 64)};
        for (int i = 0; i < 3; ++i) {
            m_painter.setPen(Qt::NoPen);
            m_painter.setBrush(buttons[i]);
            m_painter.drawEllipse(frame.topLeft() + QPointF(18 + 20 * i, 14), 6, 6);
        }
        text(frame.topLeft() + QPointF(90, 19), title, 13,
             background.lightness() < 128 ? Qt::white : QColor(60, 60, 64));
    }

    void editor(QRectF frame)
    {
        window(frame, QStringLiteral("Notes — 議事録"), QColor(255, 255, 255), QColor(236, 236, 238));
        const QRectF side(frame.left(), frame.top() + 28, 170, frame.height() - 37);
        m_painter.fillRect(side, QColor(246, 246, 248));
        for (int i = 0; i * 30 + 60 < side.height(); ++i) {
            if (i == 2)
                m_painter.fillRect(QRectF(side.left() + 6, side.top() + 30 * i + 8, 158, 26), QColor(10, 110, 240));
            text(side.topLeft() + QPointF(18, 26 + 30 * i),
                 i % 2 ? QStringLiteral("Inbox %1").arg(i) : QStringLiteral("受信箱 %1").arg(i), 13,
                 i == 2 ? Qt::white : QColor(50, 50, 54));
        }
        for (int i = 0; i * 22 + 80 < frame.height(); ++i) {
            if (i % 7 != 5)
                text(frame.topLeft() + QPointF(190, 60 + 22 * i), sentence(i % 3 == 1), 13, QColor(30, 30, 34));
        }
    }

    void table(QRectF frame)
    {
        window(frame, QStringLiteral("Budget 2024"), QColor(252, 252, 252), QColor(228, 232, 236));
        for (int row = 0; row < 17; ++row) {
            const double y = frame.top() + 28 + 22 * row;
            if (row % 2)
                m_painter.fillRect(QRectF(frame.left(), y, frame.width(), 22), QColor(243, 246, 250));
            for (int column = 0; column < 6; ++column)
                text({frame.left() + 12 + 108 * column, y + 16},
                     column ? QString::number(m_random.bounded(100000) / 10.0, 'f', 1)
                            : QStringLiteral("項目 %1").arg(row),
                     12, QColor(40, 44, 50));
        }
        m_painter.setPen(QColor(214, 218, 224));
        for (int column = 1; column < 6; ++column)
            m_painter.drawLine(QPointF(frame.left() + 108 * column, frame.top() + 28),
                               QPointF(frame.left() + 108 * column, frame.bottom()));
    }

    void terminal(QRectF frame)
    {
        window(frame, QStringLiteral("zsh"), QColor(30, 32, 38), QColor(50, 52, 60));
        const QColor colours[] = {QColor(220, 222, 228), QColor(120, 200, 140), QColor(230, 180, 100),
                                  QColor(120, 170, 240)};
        for (int i = 0; i * 17 + 56 < frame.height(); ++i)
            text(frame.topLeft() + QPointF(14, 48 + 17 * i), code[m_random.bounded(int(code.size()))], 12,
                 colours[m_random.bounded(4)], "DejaVu Sans Mono");
    }

    void menuBar()
    {
        m_painter.fillRect(QRectF(0, 0, m_size.width(), 25), QColor(240, 240, 244));
        const char *items[] = {"File", "Edit", "View", "Window", "Help"};
        for (int i = 0; i < 5; ++i)
            text({30.0 + 64 * i, 18}, QString::fromLatin1(items[i]), 13, Qt::black);
        text({m_size.width() - 120, 18}, QStringLiteral("3月5日(木) 14:07"), 13, Qt::black);
    }

    void dock()
    {
        const double top = m_size.height() - 70, left = m_size.width() / 2 - 360;
        m_painter.setPen(Qt::NoPen);
        m_painter.setBrush(QColor(255, 255, 255, 90));
        m_painter.drawRoundedRect(QRectF(left, top, 720, 62), 16, 16);
        for (int i = 0; i < 12; ++i) {
            QRadialGradient shine(QPointF(left + 40 + 58 * i, top + 20), 40);
            shine.setColorAt(0, QColor::fromHsv(i * 30, 120, 255));
            shine.setColorAt(1, QColor::fromHsv(i * 30, 220, 160));
            m_painter.setBrush(shine);
            m_painter.drawRoundedRect(QRectF(left + 16 + 58 * i, top + 8, 46, 46), 11, 11);
        }
    }

    QPainter m_painter;
    const double m_scale; // pixels per point
    const QSizeF m_size;  // points
    QRandomGenerator m_random{3};
};

// A lattice of random values, smoothly interpolated: one octave of the clouds.
class Lattice
{
public:
    Lattice(int cells, quint32 seed)
        : m_cells(cells)
        , m_values(size_t(cells + 2) * size_t(cells + 2))
    {
        QRandomGenerator random(seed);
        for (float &value : m_values)
            value = float(random.generateDouble() * 2 - 1);
    }

    float at(float x, float y) const // both 0 to 1
    {
        x *= float(m_cells);
        y *= float(m_cells);
        const int column = int(x), row = int(y);
        const float right = smooth(x - float(column)), down = smooth(y - float(row));
        const float *corner = m_values.data() + size_t(row) * size_t(m_cells + 2) + size_t(column);
        const float upper = corner[0] + right * (corner[1] - corner[0]);
        corner += m_cells + 2;
        return upper + down * (corner[0] + right * (corner[1] - corner[0]) - upper);
    }

private:
    static float smooth(float t) { return t * t * (3 - 2 * t); }

    int m_cells;
    std::vector<float> m_values;
};

} // namespace

QImage bench::renderedDesktop(QSize pixels, bool transparentCorners)
{
    QImage image(pixels, QImage::Format_RGB32);
    Painting(image).paint();
    if (!transparentCorners)
        return image;
    QImage cut(pixels, QImage::Format_ARGB32_Premultiplied);
    cut.fill(Qt::transparent);
    QPainter painter(&cut);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(QRectF(QPointF(), QSizeF(pixels)), pixels.width() / 70.0, pixels.width() / 70.0);
    painter.setClipPath(shape);
    painter.fillPath(shape, QBrush(image));
    painter.end();
    return cut.convertToFormat(QImage::Format_ARGB32);
}

QImage bench::renderedPhoto(QSize pixels)
{
    std::vector<Lattice> octaves;
    for (int i = 0; i < 8; ++i)
        octaves.emplace_back(3 << i, 100 + quint32(i));
    const Lattice hue(5, 1), light(4, 2);
    QRandomGenerator random(9);
    QImage image(pixels, QImage::Format_RGB32);
    for (int row = 0; row < pixels.height(); ++row) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(row));
        for (int column = 0; column < pixels.width(); ++column) {
            const float x = float(column) / float(pixels.width()), y = float(row) / float(pixels.height());
            float cloud = 0, weight = 0.5f;
            for (const Lattice &octave : octaves) {
                cloud += weight * octave.at(x, y);
                weight *= 0.6f;
            }
            const float ridge = y + 0.12f * octaves[1].at(x, 0.3f) > 0.62f ? -60.0f : 0.0f; // a horizon
            const float base = 140 + 90 * cloud + 50 * light.at(x, y) + ridge;
            const float warm = 30 * hue.at(x, y);
            const auto channel = [&](float value) {
                const float grain = float(int(random.generate() & 7) + int(random.generate() & 7)) - 7;
                return int(qBound(0.0f, value + 0.5f * grain, 255.0f));
            };
            line[column] = qRgb(channel(base + warm), channel(base), channel(base - warm + 20));
        }
    }
    return image;
}

} // namespace qm
