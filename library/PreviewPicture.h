#pragma once

#include "ui/LatestJob.h"

#include <QImage>
#include <QWidget>

namespace qm {

// A picture scaled to fit, keeping its aspect ratio. Exact scaling runs on a separate thread: on this one a large
// picture would make resizing sluggish, and the painter's own scaling is too coarse for small text. Main thread.
class PreviewPicture : public QWidget
{
    Q_OBJECT

public:
    explicit PreviewPicture(QWidget *parent = nullptr);

    void setImage(const QImage &image);
    const QImage &image() const { return m_image; }
    bool isSharp() const; // the picture is painted at exactly the size it should have

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QSize fittedPixels() const;
    void scale(QSize pixels);

    QImage m_image;
    QImage m_scaled;   // m_image at screen size; null until first scaled
    QSize m_scalingTo; // size the thread is working on
    LatestJob m_scaling;
};

} // namespace qm
