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
    const char16_t *licence; // SPDX identifiers
};
static constexpr const char16_t *publicDomain = u"public domain"; // needs translating, unlike the identifiers

// Libraries our programs are linked with.
static constexpr std::array libraries{
    Library{u"Qt", u"LGPL-3.0"},
    Library{u"GLib", u"LGPL-2.1"},
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
    Library{u"Wayland", u"MIT"},
    Library{u"libevdev", u"MIT"},
    Library{u"libseccomp", u"LGPL-2.1"},
    Library{u"systemd", u"LGPL-2.1"},
};

QString appVersion(const std::optional<QString> &shortVersion, const std::optional<QString> &version)
{
    const QString unknown = QStringLiteral("?");
    return QStringLiteral("%1 (%2)").arg(shortVersion.value_or(unknown), version.value_or(unknown));
}

// The text of a licence is a click away, in a browser.
static QString linked(const QString &title, const QString &address, const QColor &color)
{
    return QStringLiteral("<a href=\"%1\" style=\"color: %2\">%3</a>").arg(address, color.name(QColor::HexArgb), title);
}

static QString linkedLicences(QStringView identifiers, const QColor &color)
{
    if (identifiers == QStringView(publicDomain))
        return linked(text(identifiers, u"パブリックドメイン"), QStringLiteral("https://www.sqlite.org/copyright.html"),
                      color);
    QStringList links;
    for (const QString &identifier : identifiers.toString().split(QStringLiteral(", ")))
        links << linked(identifier, QStringLiteral("https://spdx.org/licenses/%1.html").arg(identifier), color);
    return links.join(QStringLiteral(", "));
}

static QLabel *withLinks(QLabel *label)
{
    label->setTextFormat(Qt::RichText);
    label->setTextInteractionFlags(Qt::TextBrowserInteraction);
    label->setOpenExternalLinks(true);
    return label;
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
    m_licence = withLinks(new QLabel);
    m_licence->setWordWrap(true);
    grid->addWidget(m_licence, 0, 0, 1, 5);
    auto *title = new QLabel(text(u"It uses these libraries:", u"次のライブラリを使用しています："));
    grid->addWidget(title, 1, 0, 1, 5);

    // Two pairs of columns, read downwards.
    const size_t half = (libraries.size() + 1) / 2;
    for (size_t i = 0; i < libraries.size(); ++i) {
        const int row = 2 + int(i % half);
        const int column = i < half ? 0 : 3;
        auto *name = new QLabel(QString::fromUtf16(libraries[i].name));
        m_libraryLicences << withLinks(new QLabel);
        grid->addWidget(name, row, column);
        grid->addWidget(m_libraryLicences.last(), row, column + 1);
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
    // Links would be blue, whatever they are on.
    const QColor primary = palette().color(QPalette::WindowText);
    const QColor secondary = SystemLook::secondaryText(palette());
    m_licence->setText(text(u"Quillmere is free software under the %1.", u"Quillmere は %1のフリーソフトウェアです。")
                           .arg(linked(text(u"MIT License", u"MIT ライセンス"),
                                       QStringLiteral("https://spdx.org/licenses/MIT.html"), primary)));
    for (qsizetype i = 0; i < m_libraryLicences.size(); ++i)
        m_libraryLicences[i]->setText(linkedLicences(libraries[size_t(i)].licence, secondary));
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
