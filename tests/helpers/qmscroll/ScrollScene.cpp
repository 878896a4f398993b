#include "tests/helpers/qmscroll/ScrollScene.h"

#include "tests/support/Pixels.h"
#include "tests/support/RenderedScreen.h"

#include <QBuffer>
#include <QLinearGradient>
#include <QPainter>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cstring>

using namespace Qt::StringLiterals;

namespace qm {

namespace {

using Content = ScrollScene::Content;

constexpr QRgb paper = 0xfffdfdfb;
constexpr int hoverRows = 24, cardRows = 200, laterBarRows = 40;

void drawPage(QImage &page, Content content, QRandomGenerator &random)
{
    static const QStringList words =
        u"page line scroll header total window before after when enough with names of 12 48 3.5 % 長いページを撮影して "
        "一枚の画像に 見出しは固定 表の行が続き 余白のあとに"_s.split(u' ');
    static const QImage photo = RenderedScreen::photo({700, 160});
    const int width = page.width();
    QLinearGradient shade(0, 0, 0, page.height());
    shade.setColorAt(0, QColor(240, 244, 255));
    shade.setColorAt(1, QColor(120, 140, 190));
    QPainter painter(&page);
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(13);
    painter.setFont(font);
    painter.fillRect(page.rect(), content == Content::shaded ? QBrush(shade) : QBrush(QColor(paper)));
    for (int y = 0; y < page.height();) {
        Content block = content;
        if (content == Content::mixed)
            block = std::array{Content::text,  Content::text,  Content::text, Content::text,
                               Content::table, Content::alike, Content::photo}[size_t(random.bounded(7))];
        switch (block) {
        case Content::table:
        case Content::alike:
            painter.fillRect(0, y, width, 23, y / 24 % 2 ? QColor(244, 246, 250) : QColor(Qt::white));
            painter.drawText(10, y + 16, u"Item delivered"_s);
            painter.drawText(width / 2, y + 16,
                             block == Content::alike ? u"12"_s : QString::number(random.bounded(9999)));
            y += 24;
            break;
        case Content::photo: {
            const QRect part(random.bounded(200), 0, width - 40, random.bounded(40, 160));
            painter.drawImage(QPoint(20, y), photo, part);
            y += part.height() + 12;
            break;
        }
        default: {
            QString text;
            while (text.size() < (block == Content::shaded ? 9 : width / 8))
                text += words[random.bounded(int(words.size()))] + u' ';
            painter.drawText(12, y + 15, text);
            y += random.bounded(4) && block != Content::shaded ? 19 : random.bounded(20, 80);
        }
        }
    }
}

QImage drawnPage(const ScrollScene::Look &look, QRandomGenerator &random)
{
    const QSize size(look.size.width(), look.pageHeight);
    if (look.content == Content::photo)
        return RenderedScreen::photo(size);
    QImage page(size, QImage::Format_RGB32), card(size.width(), cardRows, QImage::Format_RGB32);
    drawPage(look.content == Content::cards ? card : page, look.content, random);
    if (look.content == Content::cards)
        QPainter(&page).fillRect(page.rect(), QBrush(card));
    return page;
}

QImage drawnBar(const QSize &size, const QString &text, QColor color)
{
    if (size.isEmpty())
        return {};
    QImage bar(size, QImage::Format_RGB32);
    bar.fill(color);
    QPainter painter(&bar);
    painter.setPen(Qt::white);
    painter.drawText(bar.rect().adjusted(10, 0, 0, 0), Qt::AlignVCenter, text);
    return bar;
}

QRgb mixed(QRgb a, QRgb b, double share)
{
    const auto channel = [&](int x, int y) { return qRound(x * (1 - share) + y * share); };
    return qRgb(channel(qRed(a), qRed(b)), channel(qGreen(a), qGreen(b)), channel(qBlue(a), qBlue(b)));
}

QImage encoded(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 80);
    return QImage::fromData(bytes).convertToFormat(QImage::Format_RGB32);
}

QRgb hovered(QRgb pixel)
{
    return mixed(pixel, qRgb(60, 120, 240), 0.2);
}

} // namespace

ScrollScene::ScrollScene(const Look &look, quint32 seed)
    : m_look(look)
    , m_random(seed)
    , m_page(drawnPage(look, m_random))
    , m_header(drawnBar({look.size.width(), look.header}, u"Quillmere  Home  News"_s, QColor(40, 60, 120)))
    , m_laterBar(drawnBar({look.size.width(), laterBarRows}, u"We use cookies"_s, QColor(20, 90, 60)))
{
    QPainter painter(&m_page);
    painter.fillRect(0, look.blankFrom, look.size.width(), look.blankRows, QColor(paper));
    if (look.headerFrom)
        painter.drawImage(0, look.headerFrom, m_header);
    painter.end();
    m_loaded = m_page;
    if (look.lateRows)
        addLatePicture();
    if (look.caret)
        m_caretPlace = QRect(look.size.width() / 3, look.size.height() / 2, 2, 16);
    if (look.animation)
        m_animationPlace = QRect(look.size.width() / 3, look.size.height() + 40, 40, 30);
}

void ScrollScene::addLatePicture()
{
    const int from = m_look.lateFrom, rows = m_look.lateRows, width = m_page.width();
    if (m_look.lateGrows) {
        m_loaded = QImage(width, m_page.height() + rows, QImage::Format_RGB32);
        QPainter painter(&m_loaded);
        painter.drawImage(0, 0, m_page);
        painter.drawImage(0, from + rows, m_page, 0, from);
    } else {
        QPainter(&m_page).fillRect(0, from, width, rows, Qt::lightGray);
    }
    QPainter(&m_loaded).drawImage(0, from, RenderedScreen::photo({width, rows}));
}

void ScrollScene::load()
{
    m_page = m_loaded;
}

QImage ScrollScene::footer(int offset) const
{
    const QString text = m_look.footerCounts ? u"Row %1"_s.arg(offset) : u"Ready"_s;
    return drawnBar({m_look.size.width(), m_look.footer}, text, QColor(70, 74, 80));
}

QImage ScrollScene::window(int offset) const
{
    QImage image(m_look.size, QImage::Format_RGB32);
    image.fill(paper);
    QPainter(&image).drawImage(0, contentTop() - offset, m_page);
    return image;
}

QImage ScrollScene::frame(int offset)
{
    if (++m_moment == m_look.loadsAt)
        load();
    QImage image = window(offset);
    addMoment(image, offset);
    addBars(image, offset);
    return m_look.isEncoded ? encoded(image) : image;
}

void ScrollScene::addMoment(QImage &image, int offset)
{
    const int shift = contentTop() - offset, width = image.width();
    QPainter painter(&image);
    if (m_moment % 2)
        painter.fillRect(m_caretPlace.translated(0, shift), Qt::black);
    for (int i = 0; !m_animationPlace.isNull() && i < 5; ++i)
        painter.fillRect(QRect(m_animationPlace.topLeft() + QPoint(8 * i, shift), QSize(8, 30)),
                         QColor::fromHsv(m_moment * 67 * (i + 1) % 360, 200, 200));
    painter.end();
    for (int y = 0; y + 1 < image.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        if (m_look.hover && (y - shift) / hoverRows == (offset + image.height() / 2) / hoverRows)
            std::transform(line, line + width, line, hovered);
    }
}

// What keeps its place.
void ScrollScene::addBars(QImage &image, int offset) const
{
    const QSize size = m_look.size;
    QPainter painter(&image);
    const bool shrunk = m_look.headerShrinksTo && offset > 0;
    if (m_look.header && (!m_look.headerFrom || offset > m_look.headerFrom))
        painter.drawImage(0, 0, m_header, 0, 0, size.width(), shrunk ? m_look.headerShrinksTo : m_look.header);
    painter.drawImage(0, size.height() - m_look.footer, footer(offset));
    if (m_look.barLater && offset >= m_look.barLater)
        painter.drawImage(0, size.height() - laterBarRows, m_laterBar);
    painter.fillRect(0, 0, m_look.sidebar, size.height(), QColor(232, 234, 240));
    const int gone = std::min(offset, m_look.sidebarSticks);
    for (int y = 20; m_look.sidebar && y < size.height() + gone; y += 31)
        painter.drawText(4, y - gone, u"Item %1"_s.arg(y));
    if (m_look.scrollBar) {
        const int left = size.width() - m_look.scrollBar;
        painter.fillRect(left, 0, m_look.scrollBar, size.height(), QColor(236, 236, 238));
        const int thumb = std::max(12, size.height() * size.height() / m_page.height());
        const int at = (size.height() - thumb) * offset / std::max(1, lastOffset());
        painter.fillRect(left + 2, at, m_look.scrollBar - 4, thumb, QColor(150, 152, 158));
    }
}

int ScrollScene::lastOffset() const
{
    return m_page.height() - (m_look.size.height() - contentTop() - m_look.footer);
}

ScrollScene::Rows ScrollScene::alikeRows(int offset, int other, int from, int to) const
{
    const auto shown = [&](int at) {
        return window(at).copy(m_look.sidebar, 0, m_look.size.width() - m_look.sidebar - m_look.scrollBar, to);
    };
    Rows rows;
    if (from >= to)
        return rows;
    const QImage one = shown(offset), two = shown(other);
    const auto same = [&](const QImage &image, int y, const QImage &with, int row) {
        return std::memcmp(image.constScanLine(y), with.constScanLine(row), size_t(image.bytesPerLine())) == 0;
    };
    for (int y = std::max(1, from); y < to; ++y) {
        if (!same(one, y, one, y - 1) || !same(two, y, two, y - 1))
            ++(same(one, y, two, y) ? rows.alike : rows.unlike);
    }
    return rows;
}

QString ScrollScene::difference(const QImage &picture, int firstOffset, int furthestOffset) const
{
    const QSize expected(m_look.size.width(), furthestOffset - firstOffset + m_look.size.height());
    if (picture.size() != expected)
        return u"%1 rows instead of %2"_s.arg(picture.height()).arg(expected.height());
    const QImage last = m_look.barLater && furthestOffset >= m_look.barLater ? m_laterBar : footer(furthestOffset);
    const int bottom = expected.height() - last.height();
    for (int y = 0; y < expected.height(); ++y) {
        const int row = firstOffset + y - contentTop();
        for (int x = m_look.sidebar; x < expected.width() - m_look.scrollBar; ++x) {
            const auto is = [&](QRgb wanted) { return Pixels::near(picture.pixel(x, y), wanted, 0); };
            if (y >= bottom ? is(last.pixel(x, y - bottom)) : y < contentTop() && is(m_header.pixel(x, y)))
                continue;
            if (row < 0 || y >= bottom)
                return u"a band differs at %1, %2"_s.arg(x).arg(y);
            const QRgb page = m_page.pixel(x, row);
            const bool changes = m_caretPlace.contains(x, row) || m_animationPlace.contains(x, row);
            const bool isRoom = m_look.loadsAt && row >= m_look.lateFrom && row < m_look.lateFrom + m_look.lateRows &&
                                is(QColor(Qt::lightGray).rgb()); // was seen before only
            if (!is(page) && !changes && !isRoom && !(m_look.hover && is(hovered(page))))
                return u"the page differs at %1, %2"_s.arg(x).arg(y);
        }
    }
    return {};
}

} // namespace qm
