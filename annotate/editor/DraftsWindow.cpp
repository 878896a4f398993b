#include "annotate/editor/DraftsWindow.h"

#include "ui/AppLocale.h"
#include "ui/SystemLook.h"

#include <QEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace qm {

static constexpr int textWidth = 320; // points
static constexpr qsizetype mostRows = 6;

static QLabel *label(const QString &text)
{
    auto *made = new QLabel(text);
    made->setTextFormat(Qt::PlainText); // a file name may contain <b>
    made->setFixedWidth(textWidth);
    made->setWordWrap(true);
    return made;
}

static QString detailOf(const Draft::Left &left)
{
    const QString when = QLocale().toString(left.stored, QLocale::ShortFormat);
    switch (left.picture) {
    case Draft::Left::Picture::same: break;
    case Draft::Left::Picture::changed:
        return when + u'\n' +
               AppLocale::text(u"The picture has changed since then.", u"その後、画像が変更されています。");
    case Draft::Left::Picture::gone:
        return when + u'\n' +
               AppLocale::text(u"The picture is gone. Its annotations are kept for %1 days, should it come back.",
                               u"画像が見つかりません。戻ったときのために、注釈は %1 日間保存されます。")
                   .arg(Draft::daysKept);
    }
    return when;
}

DraftsWindow::DraftsWindow(std::function<void(const QString &)> resume, std::function<void()> look)
    : m_resume(std::move(resume))
    , m_look(std::move(look))
{
    setWindowTitle(QStringLiteral("Quillmere"));
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_QuitOnClose, false);
    auto *column = new QVBoxLayout(this);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->setSpacing(16);
    column->addWidget(new QLabel(AppLocale::text(u"These annotations were not saved when Quillmere ended.",
                                                 u"Quillmere の終了時に保存されなかった注釈があります。")));
}

QWidget *DraftsWindow::row(const Draft::Left &left)
{
    const QString name = QFileInfo(left.sourcePath).fileName();
    auto *title = label({});
    title->setFont(SystemLook::semiboldFont());
    title->setText(title->fontMetrics().elidedText(name, Qt::ElideMiddle, textWidth));
    title->setToolTip(QStringLiteral("<span>%1</span>").arg(left.sourcePath.toHtmlEscaped()));
    auto *made = new QWidget;
    made->setDisabled(m_underWay.contains(left.sourcePath));
    const auto button = [&](const QString &text, auto action) {
        auto *one = new QPushButton(text);
        one->setAccessibleName(text + u' ' + name);
        QObject::connect(one, &QPushButton::clicked, this, [this, made, path = left.sourcePath, action] {
            made->setEnabled(false); // a picture may take long to load
            m_underWay << path;
            action(path);
        });
        return one;
    };
    auto *resume = button(AppLocale::text(u"Continue", u"続ける"), m_resume);
    resume->setEnabled(left.picture != Draft::Left::Picture::gone);
    auto *discard = button(AppLocale::text(u"Discard", u"破棄"), [this](const QString &path) {
        Draft::discard(path);
        decided(path);
    });

    auto *grid = new QGridLayout(made);
    grid->setContentsMargins({});
    grid->setVerticalSpacing(2);
    grid->addWidget(title, 0, 0);
    grid->addWidget(label(detailOf(left)), 1, 0);
    grid->addWidget(resume, 0, 1, 2, 1, Qt::AlignTop);
    grid->addWidget(discard, 0, 2, 2, 1, Qt::AlignTop);
    return made;
}

void DraftsWindow::showRows()
{
    if (m_rows) {
        m_rows->hide();
        m_rows->deleteLater(); // one of its buttons may have been clicked
    }
    m_rows = new QWidget;
    auto *column = new QVBoxLayout(m_rows);
    column->setContentsMargins({});
    column->setSpacing(12);
    for (const Draft::Left &one : m_left.first(qMin(m_left.size(), mostRows))) // the others as these are decided
        column->addWidget(row(one));
    auto *later = new QPushButton(AppLocale::text(u"Later", u"あとで"));
    QObject::connect(later, &QPushButton::clicked, this, &QWidget::close);
    column->addWidget(later, 0, Qt::AlignRight);
    layout()->addWidget(m_rows);
}

// New rows only for news: the click that activates the window is on one of those that are there.
void DraftsWindow::setLeft(const QList<Draft::Left> &left)
{
    if (left.isEmpty()) {
        close();
        return;
    }
    const auto isSame = [](const Draft::Left &one, const Draft::Left &other) {
        return one.sourcePath == other.sourcePath && one.stored == other.stored && one.picture == other.picture;
    };
    if (std::equal(left.begin(), left.end(), m_left.begin(), m_left.end(), isSame))
        return;
    m_left = left;
    showRows();
}

void DraftsWindow::decided(const QString &sourcePath)
{
    m_underWay.remove(sourcePath);
    m_left.clear();
    m_look();
}

bool DraftsWindow::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        m_look();
    return QDialog::event(event);
}

} // namespace qm
