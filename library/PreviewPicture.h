#pragma once

#include "ui/LatestJob.h"

#include <QImage>
#include <QWidget>

namespace qm {

// A picture scaled to fit, its aspect ratio kept. The exact scaling runs on a thread of its own: on this one a large
// picture would be felt at every step of a resize, and the painter's own is too coarse for small text. Main thread.
class PreviewPicture : public QWidget
{
    Q_OBJECT

public:
    explicit PreviewPicture(QWidget *parent = nullptr);

    void setImage(const QImage &image);
    const QImage &image() const { return m_image; }
    bool isSharp() const; // what is painted now is exactly as large as it should be

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QSize fittedPixels() const;
    void scale(QSize pixels);

    QImage m_image;
    QImage m_scaled;   // m_image for the screen; null before there was one
    QSize m_scalingTo; // what the thread is at
    LatestJob m_scaling;
};

} // namespace qm
