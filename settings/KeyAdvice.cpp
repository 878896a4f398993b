#include "settings/KeyAdvice.h"

#include "platform/DesktopShortcuts.h"
#include "platform/ToolPaths.h"
#include "settings/CommandBox.h"
#include "settings/ShortcutAdvice.h"
#include "ui/AppLocale.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStandardPaths>

namespace qm {

using AppLocale::text;

// By its name where that finds it, so that it is still found after an update.
static QString programToType()
{
    const QString name = QStringLiteral("quillmere");
    return QStandardPaths::findExecutable(name).isEmpty() ? QCoreApplication::applicationFilePath() : name;
}

// What the administrator runs. Debian remembers it over updates.
static QString commandForTheRight(const QString &program)
{
    if (!QStandardPaths::findExecutable(QStringLiteral("dpkg-statoverride")).isEmpty())
        return QStringLiteral("sudo dpkg-statoverride --update --add root input 2755 ") + program;
    return QStringLiteral("sudo chgrp input %1 && sudo chmod 2755 %1").arg(program);
}

KeyAdvice::KeyAdvice()
    : m_shortcuts(new CommandBox)
    , m_set(new QPushButton)
    , m_message(new QLabel)
    , m_right(new CommandBox)
{
    m_set->setAutoDefault(false);
    m_message->setWordWrap(true);
    auto *row = new QHBoxLayout;
    row->addWidget(m_set);
    row->addWidget(m_message, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_shortcuts);
    layout->addLayout(row);
    layout->addWidget(m_right);

    const ShortcutAdvice advice = shortcutAdvice(qEnvironmentVariable("XDG_CURRENT_DESKTOP"), programToType());
    m_shortcuts->set(advice.where, advice.lines);
    if (const std::optional<QString> program = toolPaths().keys)
        m_right->set(
            text(
                u"With the right to read keyboards, Quillmere hears the key by itself, tap and hold, on every desktop. "
                "Your other programs could then learn when Shift, Ctrl, Alt and Super are pressed, but no other key. "
                "The administrator gives it with this command:",
                u"キーボードを読み取る権限があれば、どのデスクトップでもタップと長押しをそのまま使えます。"
                "その場合、他のプログラムも Shift、Ctrl、Alt、Super "
                "を押したことを知り得ますが、ほかのキーは知り得ません。"
                "管理者が次のコマンドで許可します。"),
            commandForTheRight(*program));
    connect(m_set, &QPushButton::clicked, this, [this] { toggleShortcuts(); });
    refresh();
}

void KeyAdvice::setRoad(KeyRoad road, bool isMonitored)
{
    if (m_road == road && m_isMonitored == isMonitored)
        return;
    m_road = road;
    m_isMonitored = isMonitored;
    if (m_road == KeyRoad::none)
        lookForShortcuts();
    refresh();
}

void KeyAdvice::lookForShortcuts()
{
    m_look.start([] { return DesktopShortcuts::areSet(); },
                 [this](std::optional<bool> areSet) {
                     m_areSet = areSet;
                     refresh();
                 });
}

void KeyAdvice::toggleShortcuts()
{
    m_set->setEnabled(false);
    const DesktopShortcuts::Names names = {text(u"Quillmere: Capture Region", u"Quillmere：範囲を撮る"),
                                           text(u"Quillmere: Capture Window", u"Quillmere：ウィンドウを撮る")};
    m_change.start(
        [on = !*m_areSet, program = programToType(), names] { return DesktopShortcuts::set(on, program, names); },
        [this](const Outcome &outcome) {
            m_failure = outcome ? QString() : outcome.reason();
            m_set->setEnabled(true);
            lookForShortcuts();
        });
}

void KeyAdvice::refresh()
{
    const bool isUnheard = m_road == KeyRoad::none;
    m_shortcuts->setVisible(isUnheard && !m_areSet.value_or(false));
    m_set->setVisible(isUnheard && m_areSet);
    m_set->setText(m_areSet.value_or(false) ? text(u"Remove the Shortcuts", u"ショートカットを削除")
                                            : text(u"Add Them for Me", u"自動で追加"));
    m_message->setVisible(m_set->isVisibleTo(this));
    if (!m_failure.isEmpty())
        m_message->setText(text(u"The desktop has not accepted that", u"デスクトップが受け付けませんでした"));
    else if (m_areSet.value_or(false))
        m_message->setText(text(u"Shift+Super+R captures a region, Shift+Super+W a window.",
                                u"Shift+Super+R で範囲を、Shift+Super+W でウィンドウを撮ります。"));
    else
        m_message->clear();
    m_message->setToolTip(m_failure);
    const bool mayGainMore = m_road != KeyRoad::displayServer && m_road != KeyRoad::inputDevices;
    m_right->setVisible(mayGainMore && m_isMonitored && toolPaths().keys);
}

} // namespace qm
