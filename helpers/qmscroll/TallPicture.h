#pragma once

#include "platform/Outcome.h"

#include <QImage>
#include <QString>

#include <memory>

namespace qm {

// A picture that grows downwards into a PNG file as its rows arrive. No file appears at the path before finish(): until
// then it is a hidden one beside it, which is removed with this object, but survives the process if that is killed; see
// UnfinishedPictures. One thread at a time. Memory is a few rows, the thumbnail, and what has come since keep().
class TallPicture
{
public:
    // The folder must exist. Width in pixels; dpi is written into the file. A failure is reported by the first
    // append().
    TallPicture(const QString &path, int width, double dpi = 72);
    // Another form of a picture that has begun: of a process that is killed only one of them survives.
    TallPicture(const TallPicture &other, int width);
    ~TallPicture();

    // Appends rows, RGB32, as wide as the picture. False after the first failure (a full disk); finish() returns the
    // reason.
    [[nodiscard]] bool append(const QImage &rows);

    // Makes the rows so far, with these below them, survive: a later failure, or the end of the process. Takes as long as
    // writing them. Failures are reported as those of append().
    void keep(const QImage &below);

    int height() const; // of the rows so far, in pixels

    // The rows so far, area-averaged to at most 160 pixels in width, up to the last complete thumbnail row: RGB32, null
    // before the first row. Its height grows with the picture.
    QImage thumbnail() const;

    // Writes the rest into the file; finish() then only has to move it. False after any failure. Nothing may be appended.
    [[nodiscard]] bool complete();

    // Completes the file and moves it to the path, replacing any existing file. After any failure, including an earlier
    // one, what was kept last becomes the file; height() is then its height, or 0 if there is none and the existing file
    // is untouched. A file that only could not be moved is left for UnfinishedPictures. Call nothing else afterwards.
    Outcome finish();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
