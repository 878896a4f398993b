#pragma once

#include "platform/Outcome.h"

#include <QImage>
#include <QString>

#include <memory>

namespace qm {

// A picture that grows downwards into a PNG file while its rows arrive. Until finish() no file stands at the path: the
// bytes go to one without a name in the same folder or, where the system has no such thing, to one whose name is no
// picture's. An unfinished picture leaves nothing behind, however the process ends where files without a name exist.
// One thread at a time. Memory is a few rows and the thumbnail, whatever the height.
class TallPicture
{
public:
    // The folder must exist. Width in pixels; dpi is written into the file. A failure shows at the first append().
    TallPicture(const QString &path, int width, double dpi = 72);
    ~TallPicture();

    // The next rows, RGB32, as wide as the picture. False after the first failure (a full disk): see finish() for why.
    [[nodiscard]] bool append(const QImage &rows);

    int height() const; // of the rows so far, in pixels

    // The rows so far, shrunk by area average to at most 160 pixels in width, as far as they fill its rows: RGB32, null
    // before the first. Its height grows with the picture.
    QImage thumbnail() const;

    // The file's end, then the file appears at the path, whole, in place of one that stands there. A failure, also an
    // earlier one, leaves what stood there untouched. Nothing can follow.
    Outcome finish();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
