#pragma once

#include <QImage>

#include <vector>

namespace qm {

// Shrinks a picture by exact area averaging while its rows arrive: every pixel of the result is the mean of the source
// area it covers, weighted by alpha. Holds one row of sums and the result, whatever the source's height.
class AreaAverage
{
public:
    // The target must nowhere be larger than the source. Rows are RGB888 (3 channels) or RGBA8888 (4 channels).
    AreaAverage(QSize source, QSize target, int channels);

    void add(const uchar *row); // the next row; at most as many as the source is high
    QImage result() const;      // RGB32, or ARGB32_Premultiplied if anything was not opaque; missing rows are blank

private:
    void addSums(const uchar *row, float weight);
    void startColumns(const uchar *row, float weight);
    void emitRow();
    const uchar *premultiplied(const uchar *row);

    const QSize m_source;
    const QSize m_target;
    const int m_channels;
    const qsizetype m_bytes;     // per row
    std::vector<quint16> m_sums; // of up to 256 whole rows
    int m_summed = 0;
    std::vector<float> m_columns; // of the current target row: everything before m_sums, plus fractions of rows
    std::vector<uchar> m_premultiplied;
    bool m_opaque = true;
    int m_sourceY = 0;
    int m_targetY = 0;
    QImage m_result;
};

} // namespace qm
