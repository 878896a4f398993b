#pragma once

#include "ui/LatestJob.h"

#include <QImage>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>

namespace qm {

// What is seen of a picture, at exactly the size that it is shown at: made from an image of it in memory if that is large
// enough, otherwise from the file, on a thread of its own. What is held does not depend on the picture's size. Main thread.
class SharpPart
{
public:
    // The picture at some size, or a part of it.
    struct Part {
        QImage image;
        QSize whole; // of all of the picture, pixels
        QRect rect;  // of the image in it

        bool covers(QSize wholeSize, const QRect &wanted) const { return whole == wholeSize && rect.contains(wanted); }
    };

    // Parts have at most this many pixels, or what is seen if that is more. While one replaces another there are two, beside
    // the image of the whole picture for a screen.
    static constexpr qint64 mostPixels = 12'000'000;

    SharpPart() = default;
    ~SharpPart() { drop(); }
    Q_DISABLE_COPY_MOVE(SharpPart)

    void open(const QImage &image, const QString &path); // the image is of the whole picture, and not larger than it
    void drop();

    QSize pictureSize() const { return m_size; } // pixels as shown; empty until it is known, or if it cannot be
    bool isLookingForSize() const { return m_sizing.isUnderWay(); }
    bool isMaking() const { return m_making.isUnderWay(); } // a part
    const QImage &image() const { return m_image; }
    const Part &part() const { return m_part; } // the latest; its image is null until there is one

    // Makes another part unless there is, or is about to be, one that holds what is seen. One that cannot be made is tried
    // again when something else is seen. whole is at most the picture's size.
    void ask(QSize whole, const QRect &seen);

    std::function<void()> onChange; // of the size or the part, or that it cannot be made

    // Of a picture this large, the part around what is seen.
    static QRect around(QSize whole, const QRect &seen, qint64 pixels = mostPixels);

private:
    QImage m_image;
    QString m_path;
    QSize m_size;
    Part m_part;
    Part m_asked; // without an image
    std::shared_ptr<std::atomic<bool>> m_wanted;
    LatestJob m_sizing{2};
    LatestJob m_making{2}; // last, so that it ends first
};

} // namespace qm
