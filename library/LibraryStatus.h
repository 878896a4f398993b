#pragma once

#include "index/OcrIndexer.h"

#include <QWidget>

class QLabel;
class QProgressBar;

namespace qm {

class SecondaryLabel;

// Below the list, while there is something to say of the index: that it cannot be read, how far reading has come, and how
// many pictures cannot be read. Main thread.
class LibraryStatus : public QWidget
{
    Q_OBJECT

public:
    explicit LibraryStatus(QWidget *parent = nullptr);

    void setIndexFailed(bool failed);
    void setNotice(const QString &notice); // that something asked for has failed; "" takes it away
    void setReading(const ReadingProgress &reading);
    void setUnreadablePictures(int count);

    std::function<void()> onReasons; // the user wants to know why pictures cannot be read

private:
    void refresh();

    bool m_indexFailed = false;
    QString m_notice;
    ReadingProgress m_reading;
    int m_unreadablePictures = 0;

    QProgressBar *m_bar = nullptr;
    SecondaryLabel *m_text = nullptr;
    QLabel *m_reasons = nullptr;
};

} // namespace qm
