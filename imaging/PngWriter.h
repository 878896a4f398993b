#pragma once

#include "imaging/Image.h"
#include "platform/Outcome.h"

#include <QByteArray>

#include <memory>
#include <optional>

class QIODevice;

namespace qm {

// Writes a PNG file row by row: 8-bit RGB, or RGBA where something is transparent, deflated fast (PNG specification, third
// edition). One thread at a time; memory is a few rows and one chunk, whatever the height.
class PngWriter
{
public:
    struct Header {
        int width = 0;
        std::optional<int> height; // none: settled by finish(), and then the device must be able to seek
        double dpi = 72;
        bool opaque = true;      // no row has transparency; alpha is not written
        QByteArray colorProfile; // ICC; empty for none
    };

    // The device is open for writing and outlives the writer. The file starts at its position.
    PngWriter(QIODevice &out, const Header &header);
    ~PngWriter();

    // The next rows, as wide as the header says, any format, straight or premultiplied alpha.
    // False after the first failure: the device's, or rows that do not fit the header.
    [[nodiscard]] bool append(const QImage &rows);

    // The file's end. False when any write failed or rows are missing; the device then holds no whole picture.
    [[nodiscard]] bool finish();

    // The picture at path, with its resolution and colour profile. Written beside and then put into place, over a file that
    // stands there; on failure nothing is left behind and the old file is untouched. The folder must exist.
    static Outcome write(const QString &path, const Image &image);

    static QByteArray encode(const Image &image); // the same as a whole file in memory; empty when it has no pixels

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
