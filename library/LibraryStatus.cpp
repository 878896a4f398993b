#include "library/LibraryStatus.h"

#include "library/LibraryLook.h"
#include "library/SecondaryLabel.h"
#include "ui/AppLocale.h"

#include <QLocale>
#include <QProgressBar>
#include <QVBoxLayout>

namespace qm {

static constexpr int barHeight = 3;

static QString number(int value)
{
    static const QLocale locale(AppLocale::isJapanese() ? QLocale::Japanese : QLocale::English);
    return locale.toString(value);
}

LibraryStatus::LibraryStatus(QWidget *parent)
    : QWidget(parent)
{
    m_bar = new QProgressBar;
    m_bar->setTextVisible(false);
    m_bar->setFixedHeight(barHeight);
    m_bar->setAccessibleName(AppLocale::text(u"Reading screenshots", u"スクリーンショットの読み取り"));
    m_text = new SecondaryLabel(QString());
    m_text->setFont(LibraryLook::caption(font()));
    m_text->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_reasons = new QLabel;
    m_reasons->setFont(LibraryLook::caption(font()));
    m_reasons->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    connect(m_reasons, &QLabel::linkActivated, this, [this] {
        if (onReasons)
            onReasons();
    });

    auto *texts = new QHBoxLayout;
    texts->setContentsMargins(12, 5, 12, 6);
    texts->addWidget(m_text, 1);
    texts->addWidget(m_reasons);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_bar);
    layout->addLayout(texts);
    refresh();
}

void LibraryStatus::setIndexFailed(bool failed)
{
    m_indexFailed = failed;
    refresh();
}

void LibraryStatus::setNotice(const QString &notice)
{
    m_notice = notice;
    refresh();
}

void LibraryStatus::setReading(const ReadingProgress &reading)
{
    m_reading = reading;
    refresh();
}

void LibraryStatus::setUnreadablePictures(int count)
{
    m_unreadablePictures = count;
    refresh();
}

void LibraryStatus::refresh()
{
    const bool reading = m_reading.total > 0;
    QString text;
    if (!m_notice.isEmpty())
        text = m_notice;
    else if (m_indexFailed)
        text =
            AppLocale::text(u"The index can't be read right now; trying again", u"索引を読めません。再試行しています");
    else if (reading)
        text = AppLocale::text(u"Reading %1 of %2 screenshots", u"スクリーンショットを読み取り中: %1 / %2 件")
                   .arg(number(std::min(m_reading.done + 1, m_reading.total)), number(m_reading.total));
    m_text->setText(text);
    m_text->setVisible(!text.isEmpty());
    m_bar->setVisible(reading);
    m_bar->setRange(0, std::max(1, m_reading.total));
    m_bar->setValue(m_reading.done);
    m_reasons->setText(QStringLiteral("<a href=\"reasons\">%1</a>")
                           .arg(AppLocale::text(u"%1 can't be read", u"%1 件は読み取れません")
                                    .arg(number(m_unreadablePictures))
                                    .toHtmlEscaped()));
    m_reasons->setVisible(m_unreadablePictures > 0);
    setVisible(!text.isEmpty() || m_unreadablePictures > 0);
}

} // namespace qm
