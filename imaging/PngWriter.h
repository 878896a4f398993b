#pragma once

#include "imaging/Image.h"
#include "platform/Outcome.h"

#include <QByteArray>

#include <memory>
#include <optional>

class QIODevice;

namespace qm {

// Writes a PNG file row by row: 8-bit RGB, or RGBA if anything is transparent, deflated fast (PNG specification, third
// edition). One thread at a time; memory is a few rows and one chunk, whatever the height.
class PngWriter
{
public:
    struct Header {
        int width = 0;
        std::optional<int> height; // if empty, it is 0 until keep() or finish(), and the device must be seekable
        double dpi = 72;
        bool opaque = true;      // no row has transparency; alpha is not written
        QByteArray colorProfile; // ICC; empty for none. Written only if it is one of RGB colours, as the pixels are
    };

    // The device must be open for writing and outlive the writer. The file starts at its current position.
    PngWriter(QIODevice &out, const Header &header);
    ~PngWriter();

    // Appends rows of the header's width, in any format, with straight or premultiplied alpha. False after the first
    // failure: of the device, or because rows do not fit the header.
    [[nodiscard]] bool append(const QImage &rows);

    // Makes what was appended so far, with these rows below it (may be null), a whole picture in the device. From then on
    // the device is only written to by the next call and by finish(): what is appended meanwhile waits in memory, deflated.
    // The device must be seekable, and the header without a height. False if a write failed, now or earlier.
    [[nodiscard]] bool keep(const QImage &rows);

    // After a failure: writes again what was kept last, over what came later; nothing may follow. Returns its height in rows,
    // 0 if nothing was kept or this fails as well.
    int fallBack();

    // Completes the file, which ends at the device's position then. False if any write failed or rows are missing; the
    // device then does not hold a complete picture.
    [[nodiscard]] bool finish();

    // Writes the picture to path, with its resolution and colour profile. Replaces an existing file atomically; on
    // failure nothing is left behind and the old file is untouched. The folder must exist.
    static Outcome write(const QString &path, const Image &image);

    // The same, but never replaces a file: fails if there is one by the time the picture is complete.
    static Outcome writeNew(const QString &path, const Image &image);

    static QByteArray encode(const Image &image); // the same as a file in memory; empty if it has no pixels

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
