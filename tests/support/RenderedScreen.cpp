#include "tests/support/RenderedScreen.h"

#include <QRandomGenerator>

#include <vector>

namespace qm {

namespace {

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

QImage RenderedScreen::photo(QSize pixels)
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
