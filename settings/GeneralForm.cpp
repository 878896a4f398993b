#include "settings/GeneralForm.h"

#include "config/ConfigStore.h"
#include "platform/LoginItem.h"
#include "settings/FittedScrollArea.h"
#include "settings/FolderField.h"
#include "settings/KeyTest.h"
#include "settings/RoadField.h"
#include "ui/AppLocale.h"
#include "ui/Symbol.h"
#include "ui/SystemLook.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QVBoxLayout>

#include <cmath>

namespace qm {

using AppLocale::text;
using namespace std::chrono_literals;

static constexpr auto typingPause = 400ms;

// The slider has steps of 0.05 s, counted in hundredths because twelve times 0.05 is not 0.6 in binary.
static constexpr int stepHundredths = 5;

static int sliderPosition(double seconds)
{
    return int(std::lround(seconds * 100 / stepHundredths));
}

static double secondsAt(int position)
{
    return position * stepHundredths / 100.0;
}

static QLabel *heading(const QString &title, bool first)
{
    auto *label = new QLabel(title);
    label->setFont(SystemLook::semiboldFont());
    label->setContentsMargins(0, first ? 0 : 14, 0, 2);
    return label;
}

// The label on most keyboards, if the keyboard itself does not tell.
static QString usualName(HotkeyModifier modifier)
{
    switch (modifier) {
    case HotkeyModifier::rightShift: return QStringLiteral("Shift");
    case HotkeyModifier::rightCommand: return QStringLiteral("Super");
    case HotkeyModifier::rightOption: return QStringLiteral("Alt");
    case HotkeyModifier::rightControl: return QStringLiteral("Ctrl");
    }
    return {};
}

static QString words(FolderProblem problem)
{
    switch (problem) {
    case FolderProblem::none: break;
    case FolderProblem::file:
        return text(u"A file is in the way; this cannot be a folder.",
                    u"この場所または途中にファイルがあるため、フォルダーとして使えません。");
    case FolderProblem::notWritable:
        return text(u"Nothing can be saved in this folder.", u"このフォルダーには保存できません。");
    case FolderProblem::cannotBeCreated:
        return text(u"This folder does not exist and cannot be created.",
                    u"このフォルダーは存在せず、作成もできません。");
    case FolderProblem::missing:
        return text(u"This folder does not exist. Please create it first.",
                    u"このフォルダーは存在しません。先に作成してください。");
    case FolderProblem::away:
        return text(u"This folder is not there now. Is its drive connected?",
                    u"このフォルダーが見つかりません。ドライブは接続されていますか？");
    }
    return {};
}

GeneralForm::GeneralForm(TaskQueue &main, std::function<void()> changed, KeyListener listener)
    : m_main(main)
    , m_changed(std::move(changed))
    , m_listener(std::move(listener))
    , m_state(GeneralSettings::read())
    , m_saved(m_state)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new FittedScrollArea(makeForm()), 1);
    layout->addWidget(makeFooter());
    refresh();
}

QWidget *GeneralForm::makeForm()
{
    auto *content = new QWidget;
    auto *top = new QVBoxLayout(content); // a taller window adds space below, not between the rows
    top->setContentsMargins(24, 18, 24, 12);
    auto *form = new QFormLayout;
    top->addLayout(form);
    top->addStretch(1);
    form->setHorizontalSpacing(14);
    form->setVerticalSpacing(8);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::DontWrapRows);

    addStorage(*form);
    addHotkey(*form);

    form->addRow(heading(text(u"Index", u"索引"), false));
    m_autoOcr =
        addCheckBox(*form, text(u"Auto-OCR after capture", u"撮影後に自動でOCRする"), &GeneralSettings::autoOcr);

    form->addRow(heading(text(u"Startup", u"起動"), false));
    m_launchAtLogin =
        addCheckBox(*form, text(u"Launch at login", u"ログイン時に起動"), &GeneralSettings::launchAtLogin);
    return content;
}

QCheckBox *GeneralForm::addCheckBox(QFormLayout &form, const QString &title, bool GeneralSettings::*value)
{
    auto *box = new QCheckBox(title);
    connect(box, &QCheckBox::clicked, this, [this, value](bool on) {
        m_state.*value = on;
        edited();
    });
    form.addRow(QString(), box);
    return box;
}

FolderField *GeneralForm::makeFolderField(const QString &name, QString GeneralSettings::*path,
                                          std::function<void()> committed)
{
    const auto changed = [this, path](const QString &entered) {
        m_state.*path = entered;
        folderEdited();
    };
    return new FolderField(name, changed, std::move(committed));
}

void GeneralForm::addStorage(QFormLayout &form)
{
    form.addRow(heading(text(u"Storage", u"保存先"), true));

    const QString captures = text(u"Captures", u"撮影した画像");
    m_captures = makeFolderField(captures, &GeneralSettings::captures, [this] { check(); });
    m_captures->setChooserFolder(
        [this] { return folderFromText(m_state.captures).value_or(m_state.captureDirWhenEmpty()); });
    form.addRow(captures, m_captures);

    const QString source = text(u"System screenshots", u"システムのスクリーンショット");
    m_source = makeFolderField(source, &GeneralSettings::source, [this] { check(); });
    m_source->setChooserFolder([this] { return folderFromText(m_state.source).value_or(m_sourceWhenEmpty); });
    form.addRow(source, m_source);

    const QString cloud = text(u"Shared folder", u"共有フォルダー");
    m_cloud = makeFolderField(cloud, &GeneralSettings::cloud, [this] {
        askForSource();
        check();
    });
    m_cloud->setChooserFolder([this] { return folderFromText(m_state.cloud).value_or(QDir::homePath()); });
    m_cloud->setPlaceholder(text(u"None", u"なし"));
    form.addRow(cloud, m_cloud);

    auto *caption = new QLabel(text(u"A synced folder that shares captures and settings between machines.",
                                    u"同期フォルダーを指定すると、画像と設定を複数のマシンで共有できます。"));
    m_captions.append(caption);
    form.addRow(QString(), caption);

    m_road = new RoadField;
    form.addRow(text(u"Screenshots by", u"画面の取得方法"), m_road);

    m_showPreview = addCheckBox(form, text(u"Show a preview after each capture", u"撮影後にプレビューを表示する"),
                                &GeneralSettings::showPreview);
}

void GeneralForm::addHotkey(QFormLayout &form)
{
    form.addRow(heading(text(u"Hotkey", u"ホットキー"), false));

    const QString key = text(u"Trigger key", u"トリガーキー");
    m_modifier = new QComboBox;
    m_modifier->setAccessibleName(key);
    m_modifier->setFocusPolicy(Qt::StrongFocus);
    m_modifier->installEventFilter(this);
    for (const HotkeyModifier modifier : allHotkeyModifiers)
        m_modifier->addItem(QString(), rawValue(modifier));
    connect(m_modifier, &QComboBox::activated, this, [this](int index) {
        m_state.hotkey.modifier = allHotkeyModifiers.at(size_t(index));
        edited();
    });
    auto *keyRow = new QHBoxLayout;
    keyRow->addWidget(m_modifier);
    keyRow->addStretch(1);
    auto *keyLabel = new QLabel(key);
    keyLabel->setBuddy(m_modifier); // on Linux a combo box is called by its value, and by this
    form.addRow(keyLabel, keyRow);

    const QString threshold = text(u"Hold threshold", u"長押しとみなす時間");
    m_threshold = new QSlider(Qt::Horizontal);
    m_threshold->setAccessibleName(threshold);
    m_threshold->setFocusPolicy(Qt::StrongFocus);
    m_threshold->installEventFilter(this);
    m_threshold->setRange(sliderPosition(Hotkey::minHoldThreshold), sliderPosition(Hotkey::maxHoldThreshold));
    m_threshold->setSingleStep(1);
    m_threshold->setPageStep(2);
    connect(m_threshold, &QSlider::valueChanged, this, [this](int position) {
        m_state.hotkey.holdThreshold = secondsAt(position);
        edited();
    });
    m_thresholdValue = new QLabel;
    m_thresholdValue->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_thresholdValue->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("0.00 s")) + 4);
    auto *thresholdRow = new QHBoxLayout;
    thresholdRow->addWidget(m_threshold, 1);
    thresholdRow->addWidget(m_thresholdValue);
    form.addRow(threshold, thresholdRow);

    auto *caption = new QLabel(text(u"Tap for a region, hold this long for a window.",
                                    u"タップで範囲を、この時間以上の長押しでウィンドウを撮ります。"));
    m_captions.append(caption);
    form.addRow(QString(), caption);

    m_keyTest = new KeyTest(m_main, m_listener);
    form.addRow(QString(), m_keyTest);
}

QWidget *GeneralForm::makeFooter()
{
    auto *footer = new QWidget;
    auto *layout = new QHBoxLayout(footer);
    layout->setContentsMargins(24, 10, 24, 14);
    m_messageIcon = new QLabel;
    m_messageText = new QLabel;
    m_messageText->setObjectName(QStringLiteral("message"));
    m_revert = new QPushButton(text(u"Revert", u"元に戻す"));
    m_revert->setAutoDefault(false);
    m_save = new QPushButton(text(u"Save", u"保存"));
    m_save->setDefault(true);
    m_save->setAutoDefault(false); // otherwise focus changes would move the dialog's default button
    connect(m_revert, &QPushButton::clicked, this, [this] { revert(); });
    connect(m_save, &QPushButton::clicked, this, [this] { save(); });
    layout->addWidget(m_messageIcon);
    layout->addWidget(m_messageText, 1);
    layout->addWidget(m_revert);
    layout->addWidget(m_save);
    return footer;
}

void GeneralForm::reload()
{
    if (m_state.cloud == m_saved.cloud)
        follow(GeneralSettings::read()); // otherwise with the answer about the folder that was entered
    askForSource();
    m_road->refresh();
    check();
    scheduleRefresh();
}

void GeneralForm::follow(const GeneralSettings &files)
{
    m_state.follow(m_saved, files);
    m_saved = files;
}

void GeneralForm::save()
{
    m_saveRequested = true;
    m_message = Message::none;
    check();
    scheduleRefresh();
}

void GeneralForm::saveChecked()
{
    m_saveRequested = false;
    m_message = Message::failed;
    if (m_found->refusesCloud || m_found->refusesCaptures) {
        m_failure = words(m_found->refusesCloud ? m_found->cloud : m_found->captures);
        (m_found->refusesCloud ? m_cloud : m_captures)->setFocus();
        return;
    }
    const Outcome outcome = m_state.save(m_saved);
    m_failure = outcome.reason();
    if (!outcome)
        return;
    m_message = Message::saved;
    m_state = m_saved = GeneralSettings::read();
    m_changed();
    askForSource();
    check();
}

void GeneralForm::revert()
{
    m_state = m_saved = GeneralSettings::read();
    m_message = Message::none;
    m_saveRequested = false;
    askForSource();
    check();
    scheduleRefresh();
}

void GeneralForm::check()
{
    m_checkTimer.cancel();
    if (m_check.isUnderWay() && m_checking == std::pair(m_state, m_saved))
        return; // another thread would only wait for the same folder
    m_checking = {m_state, m_saved};
    m_check.start([state = m_state, saved = m_saved] { return FolderCheck(state, saved); },
                  [this](const FolderCheck &found) { checked(found); });
}

// The shared folder may hold another machine's settings: joining adopts them, except for what was changed here by hand.
void GeneralForm::checked(const FolderCheck &found)
{
    m_found = found;
    m_found->files.launchAtLogin = LoginItem::isEnabled();
    follow(m_found->files);
    if (m_saveRequested)
        saveChecked();
    scheduleRefresh();
}

bool GeneralForm::stop(std::chrono::milliseconds limit)
{
    return m_check.stop(limit);
}

void GeneralForm::askForSource()
{
    m_sourceQuestion.start([state = m_state] { return state.sourceWhenEmpty(); },
                           [this](const QString &folder) {
                               m_sourceWhenEmpty = folder;
                               scheduleRefresh();
                           });
}

void GeneralForm::edited()
{
    m_message = Message::none;
    m_saveRequested = false; // what would be saved has not been checked
    scheduleRefresh();
}

void GeneralForm::folderEdited()
{
    m_check.drop();
    m_checkTimer = m_main.postAfter(typingPause, [this] { check(); });
    edited();
}

void GeneralForm::scheduleRefresh()
{
    if (m_refreshScheduled)
        return;
    m_refreshScheduled = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_refreshScheduled = false;
            refresh();
        },
        Qt::QueuedConnection);
}

void GeneralForm::refresh()
{
    m_captures->setText(m_state.captures);
    m_captures->setPlaceholder(withTilde(m_state.captureDirWhenEmpty()));
    m_source->setText(m_state.source);
    m_source->setPlaceholder(withTilde(m_sourceWhenEmpty));
    m_cloud->setText(m_state.cloud);
    if (m_found) {
        m_captures->setWarning(words(m_found->captures));
        m_source->setWarning(words(m_found->source));
        m_cloud->setWarning(words(m_found->cloud));
    }

    for (size_t i = 0; i < allHotkeyModifiers.size(); ++i) {
        const HotkeyModifier modifier = allHotkeyModifiers[i];
        const QString name = m_listener.keyName(keyCode(modifier));
        m_modifier->setItemText(int(i), text(u"Right ", u"右 ") + (name.isEmpty() ? usualName(modifier) : name));
    }
    m_modifier->setCurrentIndex(int(m_state.hotkey.modifier));
    {
        const QSignalBlocker blocker(m_threshold); // a value between the steps stays until the user moves the slider
        m_threshold->setValue(sliderPosition(m_state.hotkey.holdThreshold));
    }
    m_thresholdValue->setText(QString::asprintf("%.2f s", m_state.hotkey.holdThreshold));
    m_keyTest->setHotkey(m_state.hotkey);
    m_showPreview->setChecked(m_state.showPreview);
    m_autoOcr->setChecked(m_state.autoOcr);
    m_launchAtLogin->setChecked(m_state.launchAtLogin);

    QPalette captionPalette;
    captionPalette.setColor(QPalette::WindowText, SystemLook::secondaryText(palette()));
    for (QLabel *caption : m_captions)
        caption->setPalette(captionPalette);
    refreshFooter();
}

void GeneralForm::refreshFooter()
{
    const bool unsaved = m_state != m_saved;
    m_revert->setEnabled(unsaved);
    const bool failed = m_message == Message::failed;
    QString message;
    if (failed)
        message = text(u"Failed to save settings", u"設定の保存に失敗しました");
    else if (m_saveRequested)
        message = text(u"Checking the folders…", u"フォルダーを確認しています…");
    else if (unsaved)
        message = text(u"Unsaved changes", u"未保存の変更があります");
    else if (m_message == Message::saved)
        message = text(u"Saved", u"保存しました");
    m_messageText->setText(message);
    m_messageText->setToolTip(failed ? m_failure : QString());
    m_messageText->setAccessibleDescription(failed ? m_failure : QString());
    m_messageIcon->setVisible(failed);
    m_messageIcon->setPixmap(Symbol::icon(QStringLiteral("exclamationmark.triangle"), QColor(SystemLook::red))
                                 .pixmap({16, 16}, devicePixelRatioF()));
}

void GeneralForm::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    m_message = Message::none; // an old message no longer applies
    reload();
}

bool GeneralForm::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        reload();
    return QWidget::event(event);
}

void GeneralForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        scheduleRefresh();
    QWidget::changeEvent(event);
}

// The wheel scrolls the form and must not change a control that happens to come under the pointer.
bool GeneralForm::eventFilter(QObject *object, QEvent *event)
{
    if (event->type() == QEvent::Wheel && !static_cast<QWidget *>(object)->hasFocus()) {
        event->ignore();
        return true;
    }
    return QWidget::eventFilter(object, event);
}

} // namespace qm
