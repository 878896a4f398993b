#include "tests/helpers/qmscroll/ScrollScene.h"

#include "tests/support/RenderedScreen.h"

#include <QLinearGradient>
#include <QPainter>
#include <QStringList>

#include <algorithm>
#include <cmath>

namespace qm {

namespace {

const QStringList vocabulary =
    QStringLiteral("page line scroll header total window picture every once again before after when it is long enough "
                   "with a few words between 12 48 3.5 % and names of people places things that nobody has heard of")
        .split(QLatin1Char(' '));
const QStringList clauses = {QStringLiteral("長いページを撮影して"),       QStringLiteral("一枚の画像にします"),
                             QStringLiteral("見出しは固定されています"),   QStringLiteral("表の行が続きます"),
                             QStringLiteral("余白のあとに本文があります"), QStringLiteral("写真も含まれます")};
constexpr QRgb paper = 0xfffdfdfb;
constexpr int hoverRows = 24, cardRows = 200;

// Draws a page from the top downwards.
class PageBrush
{
public:
    PageBrush(QImage &page, QRandomGenerator &random)
        : m_page(page)
        , m_painter(&page)
        , m_random(random)
    {
        m_painter.setPen(QColor(30, 32, 36));
    }

    bool full() const { return m_y >= m_page.height(); }

    QString words(int count)
    {
        QString text;
        for (int i = 0; i < count; ++i)
            text += vocabulary[m_random.bounded(int(vocabulary.size()))] + QLatin1Char(' ');
        return text;
    }

    void line(const QString &text, int pixels, int height)
    {
        QFont font(m_random.bounded(3) == 0 ? QStringLiteral("DejaVu Serif") : QStringLiteral("DejaVu Sans"));
        font.setPixelSize(pixels);
        m_painter.setFont(font);
        m_painter.drawText(12, m_y + pixels + 2, text);
        m_y += height;
    }

    void paragraph()
    {
        const bool japanese = m_random.bounded(3) == 0;
        for (int lines = m_random.bounded(1, 7); lines > 0; --lines) {
            QString text;
            while (text.size() < m_page.width() / (japanese ? 14 : 8))
                text += japanese ? clauses[m_random.bounded(int(clauses.size()))] : words(1);
            line(text, 13, 19);
        }
        m_y += m_random.bounded(4, 24);
    }

    void heading() { line(words(3), 24, 44); }

    void table(int rows, bool alike)
    {
        for (int row = 0; row < rows; ++row) {
            m_painter.fillRect(0, m_y, m_page.width(), 24, row % 2 ? QColor(244, 246, 250) : QColor(Qt::white));
            m_painter.fillRect(0, m_y + 23, m_page.width(), 1, QColor(208, 210, 216));
            QFont font(QStringLiteral("DejaVu Sans"));
            font.setPixelSize(12);
            m_painter.setFont(font);
            m_painter.drawText(10, m_y + 16, QStringLiteral("Item delivered"));
            m_painter.drawText(m_page.width() / 2, m_y + 16,
                               alike ? QStringLiteral("12.00") : QString::number(m_random.bounded(10000)));
            m_y += 24;
        }
    }

    void photograph(int rows)
    {
        const int width = m_page.width() - 40;
        QLinearGradient sky(20, m_y, 20 + width, m_y + rows);
        for (const double stop : {0.0, 0.5, 1.0})
            sky.setColorAt(stop, QColor(m_random.bounded(256), m_random.bounded(256), m_random.bounded(256)));
        m_painter.fillRect(20, m_y, width, rows, sky);
        m_painter.setRenderHint(QPainter::Antialiasing);
        for (int i = 0; i < 12; ++i) {
            const QPointF middle(20 + m_random.bounded(width), m_y + m_random.bounded(rows));
            m_painter.setClipRect(20, m_y, width, rows);
            m_painter.setBrush(QColor(m_random.bounded(256), m_random.bounded(256), m_random.bounded(256), 120));
            m_painter.drawEllipse(middle, m_random.bounded(4, 60), m_random.bounded(4, 60));
        }
        m_painter.setClipping(false);
        m_y += rows + 12;
    }

    void code()
    {
        static const char *const lines[] = {"    }", "", "    return true;", "    // and so on", "}", "    if (row) {"};
        QFont font(QStringLiteral("DejaVu Sans Mono"));
        font.setPixelSize(12);
        m_painter.setFont(font);
        m_painter.drawText(2, m_y + 13, QString::number(m_y / 16 + 1));
        m_painter.drawText(40, m_y + 13, QString::fromLatin1(lines[m_random.bounded(6)]));
        m_y += 16;
    }

    void mixed()
    {
        switch (m_random.bounded(8)) {
        case 0: return heading();
        case 1: return table(m_random.bounded(3, 9), true);
        case 2: return table(m_random.bounded(2, 12), false);
        case 3: return photograph(m_random.bounded(40, 200));
        case 4: m_y += m_random.bounded(20, 90); return;
        default: return paragraph();
        }
    }

    void shaded()
    {
        QLinearGradient shade(0, 0, 0, m_page.height());
        shade.setColorAt(0, QColor(240, 244, 255));
        shade.setColorAt(1, QColor(120, 140, 190));
        m_painter.fillRect(m_page.rect(), shade);
        while (m_y < m_page.height()) {
            line(words(2), 13, 20);
            m_y += m_random.bounded(60);
        }
    }

private:
    QImage &m_page;
    QPainter m_painter;
    QRandomGenerator &m_random;
    int m_y = 0;
};

QImage drawnPage(const ScrollScene::Look &look, QRandomGenerator &random)
{
    using Content = ScrollScene::Content;
    QImage page(look.size.width(), look.pageHeight, QImage::Format_RGB32);
    page.fill(paper);
    if (look.content == Content::photo)
        return RenderedScreen::photo(page.size());
    if (look.content == Content::onePixel) {
        for (int y = 8; y + 12 < page.height(); y += 16) {
            for (int x = 10; x < page.width() - 10; x += 3)
                page.setPixel(x, y + x % 7, 0xff202428);
            page.setPixel(random.bounded(page.width()), y + 9, 0xff202428);
        }
        return page;
    }
    if (look.content == Content::cards) {
        QImage card(page.width(), cardRows, QImage::Format_RGB32);
        card.fill(paper);
        PageBrush brush(card, random);
        while (!brush.full())
            brush.paragraph();
        QPainter painter(&page);
        for (int y = 0; y < page.height(); y += cardRows)
            painter.drawImage(0, y, card);
        return page;
    }
    PageBrush brush(page, random);
    while (!brush.full()) {
        switch (look.content) {
        case Content::text: brush.paragraph(); break;
        case Content::shaded: brush.shaded(); break;
        case Content::code: brush.code(); break;
        case Content::table: brush.table(1, false); break;
        case Content::alike: brush.table(1, true); break;
        default: brush.mixed();
        }
    }
    return page;
}

QImage drawnBar(QSize size, const QString &text, QColor color)
{
    if (size.isEmpty())
        return {};
    QImage bar(size, QImage::Format_RGB32);
    bar.fill(color);
    QPainter painter(&bar);
    painter.setPen(Qt::white);
    painter.drawText(QRect(10, 0, size.width(), size.height()), Qt::AlignVCenter, text);
    return bar;
}

QRgb mixed(QRgb a, QRgb b, double share)
{
    const auto channel = [&](int x, int y) { return int(std::lround(x * (1 - share) + y * share)); };
    return qRgb(channel(qRed(a), qRed(b)), channel(qGreen(a), qGreen(b)), channel(qBlue(a), qBlue(b)));
}

bool near(QRgb a, QRgb b, int distance)
{
    return std::abs(qRed(a) - qRed(b)) <= distance && std::abs(qGreen(a) - qGreen(b)) <= distance &&
           std::abs(qBlue(a) - qBlue(b)) <= distance;
}

} // namespace

ScrollScene::ScrollScene(const Look &look, quint32 seed)
    : m_look(look)
    , m_random(seed)
    , m_page(drawnPage(look, m_random))
{
    const QSize size = look.size;
    QPainter painter(&m_page);
    if (!look.blank.isNull())
        painter.fillRect(0, look.blank.top(), size.width(), look.blank.height(), QColor(paper));
    if (look.header)
        m_header = drawnBar({size.width(), look.header}, QStringLiteral("Quillmere  Home  News"), QColor(40, 60, 120));
    if (look.headerFrom)
        painter.drawImage(0, look.headerFrom, m_header);
    const int x = size.width() / 3;
    if (look.caret)
        m_caretPlace = QRect(x, size.height() / 2, 2, 16);
    if (look.animation)
        m_animationPlace = QRect(x, size.height() + 40, 40, 30);
}

QImage ScrollScene::footer(int offset) const
{
    const QString text = m_look.footerCounts ? QStringLiteral("Row %1").arg(offset) : QStringLiteral("Ready");
    return drawnBar({m_look.size.width(), m_look.footer}, text, QColor(70, 74, 80));
}

QImage ScrollScene::laterBar() const
{
    return drawnBar({m_look.size.width(), laterBarRows}, QStringLiteral("We use cookies"), QColor(20, 90, 60));
}

QImage ScrollScene::window(int offset) const
{
    QImage image(m_look.size, QImage::Format_RGB32);
    image.fill(paper);
    QPainter painter(&image);
    painter.drawImage(0, contentTop() - offset, m_page);
    return image;
}

QImage ScrollScene::frame(int offset)
{
    ++m_moment;
    QImage image = window(offset);
    addMoment(image, offset);
    addBars(image, offset);
    addScrollBar(image, offset);
    addNoise(image);
    return image;
}

void ScrollScene::addMoment(QImage &image, int offset)
{
    const QSize size = m_look.size;
    const int contentTop = this->contentTop();
    QPainter painter(&image);
    if (m_moment % 2)
        painter.fillRect(m_caretPlace.translated(0, contentTop - offset), Qt::black);
    for (int i = 0; !m_animationPlace.isNull() && i < 5; ++i) {
        const QRect place = m_animationPlace.translated(0, contentTop - offset);
        painter.fillRect(place.x() + 8 * i, place.y(), 8, place.height(),
                         QColor::fromHsv(m_moment * 67 * (i + 1) % 360, 200, 200));
    }
    painter.end();
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        const int row = offset + y - contentTop;
        if (m_look.hover && row / hoverRows == (offset + size.height() / 2) / hoverRows)
            std::transform(line, line + size.width(), line, [](QRgb pixel) { return hovered(pixel); });
        if (m_look.blur > 0 && m_moment % 2 && y + 1 < size.height()) {
            const auto *below = reinterpret_cast<const QRgb *>(image.constScanLine(y + 1));
            for (int x = 0; x < size.width(); ++x)
                line[x] = mixed(line[x], below[x], m_look.blur);
        }
    }
}

// The bars that keep their place.
void ScrollScene::addBars(QImage &image, int offset) const
{
    const QSize size = m_look.size;
    QPainter painter(&image);
    const bool sticks = !m_look.headerFrom || offset > m_look.headerFrom;
    const bool shrunk = m_look.headerShrinksTo && offset > 0;
    if (m_look.header && sticks)
        painter.drawImage(0, 0, m_header, 0, 0, size.width(), shrunk ? m_look.headerShrinksTo : m_look.header);
    painter.drawImage(0, size.height() - m_look.footer, footer(offset));
    if (m_look.barLater && offset >= m_look.barLater)
        painter.drawImage(0, size.height() - laterBarRows, laterBar());
    if (m_look.sidebar) {
        painter.fillRect(0, 0, m_look.sidebar, size.height(), QColor(232, 234, 240));
        for (int y = 20; y < size.height(); y += 31)
            painter.drawText(QRect(4, y, m_look.sidebar - 4, 20), Qt::AlignLeft, QStringLiteral("Item %1").arg(y));
    }
}

void ScrollScene::addScrollBar(QImage &image, int offset) const
{
    const QSize size = m_look.size;
    QPainter painter(&image);
    if (m_look.scrollBar) {
        const int left = m_look.scrollBarLeft ? 0 : size.width() - m_look.scrollBar;
        painter.fillRect(left, 0, m_look.scrollBar, size.height(), QColor(236, 236, 238));
        const int thumb = std::max(12, size.height() * size.height() / m_page.height());
        const int at = (size.height() - thumb) * offset / std::max(1, lastOffset());
        painter.fillRect(left + 2, at, m_look.scrollBar - 4, thumb, QColor(150, 152, 158));
    }
}

void ScrollScene::addNoise(QImage &image)
{
    const QSize size = m_look.size;
    if (m_look.noise) {
        for (int y = 0; y < size.height(); ++y) {
            auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < size.width(); ++x) {
                const int grey = m_random.bounded(-m_look.noise, m_look.noise + 1);
                const auto channel = [grey](int value) { return std::clamp(value + grey, 0, 255); };
                line[x] = qRgb(channel(qRed(line[x])), channel(qGreen(line[x])), channel(qBlue(line[x])));
            }
        }
    }
}

int ScrollScene::contentTop() const
{
    return m_look.headerFrom ? 0 : m_look.header;
}

int ScrollScene::lastOffset() const
{
    return m_page.height() - (m_look.size.height() - contentTop() - m_look.footer);
}

bool ScrollScene::looksAlike(int offset, int other) const
{
    const auto shown = [this](int at) {
        QImage image = window(at);
        addBars(image, at);
        return image.copy(m_look.sidebar, 0, image.width() - m_look.sidebar, image.height() - m_look.footer);
    };
    return shown(offset) == shown(other);
}

QRgb ScrollScene::hovered(QRgb pixel)
{
    return mixed(pixel, qRgb(60, 120, 240), 0.2);
}

std::optional<QString> ScrollScene::difference(const QImage &picture, int firstOffset, int furthestOffset) const
{
    const QSize expected(m_look.size.width(), furthestOffset - firstOffset + m_look.size.height());
    if (picture.size() != expected)
        return QStringLiteral("%1 rows instead of %2").arg(picture.height()).arg(expected.height());
    const bool barLast = m_look.barLater && furthestOffset >= m_look.barLater;
    const int bottom = expected.height() - (barLast ? laterBarRows : m_look.footer);
    const QImage last = barLast ? laterBar() : footer(furthestOffset);
    int left = m_look.sidebar, right = expected.width();
    (m_look.scrollBarLeft ? left : right) += m_look.scrollBarLeft ? m_look.scrollBar : -m_look.scrollBar;
    for (int y = 0; y < expected.height(); ++y) {
        const int row = firstOffset + y - contentTop();
        for (int x = left; x < right; ++x) {
            const QRgb got = picture.pixel(x, y);
            const auto is = [&](QRgb wanted) { return near(got, wanted, m_look.noise); };
            if (y >= bottom ? is(last.pixel(x, y - bottom)) : y < contentTop() && is(m_header.pixel(x, y)))
                continue;
            if (row < 0 || y >= bottom)
                return QStringLiteral("band differs at %1, %2").arg(x).arg(y);
            const QRgb page = m_page.pixel(x, row);
            const bool changes = m_caretPlace.contains(x, row) || m_animationPlace.contains(x, row);
            const bool smoothed =
                m_look.blur > 0 &&
                is(mixed(page, row + 1 < m_page.height() ? m_page.pixel(x, row + 1) : paper, m_look.blur));
            if (!is(page) && !changes && !smoothed && !(m_look.hover && is(hovered(page))))
                return QStringLiteral("page differs at %1, %2: %3 for %4")
                    .arg(x)
                    .arg(y)
                    .arg(got, 0, 16)
                    .arg(page, 0, 16);
        }
    }
    return {};
}

} // namespace qm
