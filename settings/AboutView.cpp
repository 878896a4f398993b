#include "settings/AboutView.h"

#include "platform/BundleInfo.h"
#include "platform/LoginItem.h"
#include "settings/FittedScrollArea.h"
#include "ui/AppLocale.h"
#include "ui/Symbol.h"
#include "ui/SystemLook.h"

#include <QApplication>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>

#include <array>

namespace qm {

using AppLocale::text;

static constexpr int iconSize = 64;

struct Library {
    const char16_t *name;
    const char16_t *licence; // SPDX identifier
};
static constexpr const char16_t *publicDomain = u"public domain"; // needs translating, unlike the identifiers

// Libraries our programs are linked with.
static constexpr std::array libraries{
    Library{u"Qt", u"LGPL-3.0"},
    Library{u"SQLite", publicDomain},
    Library{u"Tesseract", u"Apache-2.0"},
    Library{u"Leptonica", u"BSD-2-Clause"},
    Library{u"libheif", u"LGPL-3.0"},
    Library{u"libpng", u"libpng-2.0"},
    Library{u"libjpeg-turbo", u"IJG, BSD-3-Clause"},
    Library{u"libwebp", u"BSD-3-Clause"},
    Library{u"ISA-L", u"BSD-3-Clause"},
    Library{u"libdeflate", u"MIT"},
    Library{u"XCB", u"MIT"},
    Library{u"xkbcommon", u"MIT"},
};

QString appVersion(const std::optional<QString> &shortVersion, const std::optional<QString> &version)
{
    const QString unknown = QStringLiteral("?");
    return QStringLiteral("%1 (%2)").arg(shortVersion.value_or(unknown), version.value_or(unknown));
}

static QLabel *selectable(const QString &words)
{
    auto *label = new QLabel(words);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}

AboutView::AboutView()
{
    auto *content = new QWidget;
    auto *stack = new QVBoxLayout(content);
    stack->setContentsMargins(24, 20, 24, 18);
    stack->setSpacing(12);
    stack->addWidget(makeHeading());
    stack->addWidget(makeRows());
    stack->addSpacing(8);
    stack->addWidget(makeLicences());
    stack->addStretch(1);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new FittedScrollArea(content));
    refresh();
}

QWidget *AboutView::makeHeading()
{
    auto *heading = new QWidget;
    auto *layout = new QHBoxLayout(heading);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    m_icon = new QLabel;
    auto *name = new QLabel(QStringLiteral("Quillmere"));
    QFont font = SystemLook::semiboldFont();
    font.setPointSizeF(font.pointSizeF() * 2);
    name->setFont(font);
    layout->addWidget(m_icon);
    layout->addWidget(name, 1);
    return heading;
}

QWidget *AboutView::makeRows()
{
    auto *rows = new QWidget;
    auto *grid = new QGridLayout(rows);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(10);
    grid->setColumnStretch(1, 1);
    grid->addWidget(new QLabel(text(u"Version", u"バージョン")), 0, 0);
    QLabel *version = selectable(appVersion(BundleInfo::shortVersion(), BundleInfo::version()));
    grid->addWidget(version, 0, 1);
    grid->addWidget(new QLabel(text(u"Search everything you ever screenshotted.", u"撮ったものすべてを、検索できる。")),
                    1, 0, 1, 2);
    grid->addWidget(new QLabel(text(u"Launch at login", u"ログイン時に起動")), 2, 0);
    m_launchAtLogin = new QLabel;
    m_launchAtLogin->setObjectName(QStringLiteral("launchAtLogin"));
    grid->addWidget(m_launchAtLogin, 2, 1);
    return rows;
}

QWidget *AboutView::makeLicences()
{
    auto *block = new QWidget;
    auto *grid = new QGridLayout(block);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(4);
    grid->setColumnMinimumWidth(2, 12);
    grid->setColumnStretch(4, 1);
    auto *licence = new QLabel(text(u"Quillmere is free software under the MIT License.",
                                    u"Quillmere は MIT ライセンスのフリーソフトウェアです。"));
    licence->setWordWrap(true);
    grid->addWidget(licence, 0, 0, 1, 5);
    auto *title = new QLabel(text(u"It uses these libraries:", u"次のライブラリを使用しています："));
    grid->addWidget(title, 1, 0, 1, 5);

    // Two pairs of columns, read downwards.
    const size_t half = (libraries.size() + 1) / 2;
    for (size_t i = 0; i < libraries.size(); ++i) {
        const int row = 2 + int(i % half);
        const int column = i < half ? 0 : 3;
        auto *name = new QLabel(QString::fromUtf16(libraries[i].name));
        const QStringView spdx = libraries[i].licence;
        auto *terms =
            new QLabel(spdx == QStringView(publicDomain) ? text(spdx, u"パブリックドメイン") : spdx.toString());
        grid->addWidget(name, row, column);
        grid->addWidget(terms, row, column + 1);
        m_secondary << terms;
    }
    return block;
}

void AboutView::refresh()
{
    m_launchAtLogin->setText(LoginItem::isEnabled() ? text(u"On", u"オン") : text(u"Off", u"オフ"));
    QIcon icon = QApplication::windowIcon();
    if (icon.isNull())
        icon = Symbol::icon(QStringLiteral("camera.viewfinder"), SystemLook::accent(palette()));
    m_icon->setPixmap(icon.pixmap({iconSize, iconSize}, devicePixelRatioF()));
    QPalette secondary;
    secondary.setColor(QPalette::WindowText, SystemLook::secondaryText(palette()));
    for (QLabel *label : m_secondary)
        label->setPalette(secondary);
}

void AboutView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    refresh();
}

bool AboutView::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        refresh();
    return QWidget::event(event);
}

void AboutView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        refresh();
    QWidget::changeEvent(event);
}

} // namespace qm
