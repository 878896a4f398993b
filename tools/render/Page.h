#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QRectF>
#include <QString>
#include <QStringList>

// A screen being drawn. All measures are in points; the scale says how many pixels one is. What is written is remembered:
// the true text of the picture is what went into it.
class Page
{
public:
    Page(int width, int height, int scale, QColor paper);

    void box(const QRectF &rect, QColor fill, double radius = 0, QColor border = Qt::transparent);
    void rule(double x1, double y1, double x2, double y2, QColor color);
    void curve(const QPolygonF &points, QColor color);

    struct Ink {
        QColor color = Qt::black;
        double size = 13; // pixels of the font at scale 1
        bool bold = false;
        bool mono = false;
        bool serif = false;
    };
    // One line; y is the baseline.
    void write(double x, double y, const QString &text, const Ink &ink);
    void writeCentred(const QRectF &rect, const QString &text, const Ink &ink);
    // As many lines as the width takes, broken between words or Japanese characters; returns the baseline after the last.
    double writeWrapped(double x, double y, double width, double pitch, const QString &text, const Ink &ink);

    // The picture as folder/name.png and its text, a line for each call of write, as folder/name.txt.
    bool save(const QString &folder, const QString &name);

private:
    void use(const Ink &ink);

    QImage m_image;
    QPainter m_painter;
    int m_scale;
    QStringList m_lines;
};
