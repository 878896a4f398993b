#include "settings/KeyTest.h"

#include "settings/KeyAdvice.h"
#include "settings/Lamp.h"
#include "ui/AppLocale.h"
#include "ui/Symbol.h"
#include "ui/SystemLook.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QPushButton>

namespace qm {

using namespace std::chrono_literals;

static constexpr int iconSize = 16;
static constexpr auto forgottenAfter = 30s;

KeyTest::KeyTest(TaskQueue &main, KeyListener listener)
    : m_main(main)
    , m_listener(std::move(listener))
    , m_stateIcon(new QLabel)
    , m_state(new QLabel)
    , m_toggle(new QPushButton(AppLocale::text(u"Test the key", u"キーを試す")))
    , m_tap(new Lamp(AppLocale::text(u"Tap", u"タップ")))
    , m_hold(new Lamp(AppLocale::text(u"Hold", u"長押し")))
    , m_advice(new KeyAdvice)
{
    m_toggle->setCheckable(true);
    m_toggle->setAutoDefault(false);
    m_toggle->setMinimumWidth(m_toggle->sizeHint().width() + 20);
    m_toggle->setToolTip(AppLocale::text(u"While this is on, the trigger key captures nothing",
                                         u"オンの間、トリガーキーを押しても撮影されません"));
    m_state->setWordWrap(true);
    m_state->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_stateIcon->setMinimumHeight(m_state->fontMetrics().height()); // in the middle of the first line

    auto *state = new QHBoxLayout;
    state->addWidget(m_stateIcon, 0, Qt::AlignTop);
    state->addWidget(m_state, 1);
    auto *test = new QHBoxLayout;
    test->addWidget(m_toggle);
    test->addSpacing(6);
    test->addWidget(m_tap);
    test->addWidget(m_hold);
    test->addStretch(1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(test);
    layout->addLayout(state);
    layout->addWidget(m_advice);

    connect(m_toggle, &QPushButton::toggled, this, [this](bool down) { down ? begin() : end(); });
    refresh();
}

KeyTest::~KeyTest()
{
    end();
}

void KeyTest::setHotkey(const Hotkey &hotkey)
{
    if (m_hotkey == hotkey)
        return;
    m_hotkey = hotkey;
    if (m_testing)
        begin();
}

void KeyTest::begin()
{
    m_testing = true;
    m_forgotten = m_main.postAfter(forgottenAfter, [this] { end(); });
    m_listener.beginTest(m_hotkey, [this](HotkeyGesture gesture) { recognized(gesture); });
}

void KeyTest::end()
{
    if (!m_testing)
        return;
    m_testing = false;
    m_forgotten.cancel();
    m_listener.endTest();
    m_toggle->setChecked(false);
}

void KeyTest::recognized(HotkeyGesture gesture)
{
    m_tap->setLit(gesture == HotkeyGesture::tap);
    m_hold->setLit(gesture == HotkeyGesture::hold);
    m_lit = m_main.postAfter(1200ms, [this] {
        m_tap->setLit(false);
        m_hold->setLit(false);
    });
    m_forgotten = m_main.postAfter(forgottenAfter, [this] { end(); });
}

void KeyTest::poll()
{
    m_poll = m_main.postAfter(1s, [this] { poll(); });
    refresh();
}

void KeyTest::refresh()
{
    const std::optional<KeyMonitor::Started> listener = m_listener.started();
    const bool started = listener == KeyMonitor::Started::yes;
    const KeyRoad road = started ? m_listener.road() : KeyRoad::none;
    const bool running = road != KeyRoad::none;
    QString state;
    if (running)
        state = stateOf(road);
    else if (started)
        state = AppLocale::text(
            u"The trigger key cannot be heard in this session. Two shortcuts of the desktop's can do the "
            "same, for “quillmere capture-region” and “quillmere capture-window”.",
            u"このセッションではトリガーキーを受け取れません。デスクトップのショートカットを"
            "「quillmere capture-region」と「quillmere capture-window」に割り当てれば、同じことができます。");
    else if (listener == KeyMonitor::Started::notYet)
        state = AppLocale::text(u"The trigger key does not work yet. Allow Quillmere to monitor the keyboard in the "
                                "system's privacy settings; the key then works at once.",
                                u"まだトリガーキーを受け取れません。システムのプライバシー設定で Quillmere "
                                "にキー入力の監視を許可すると、自動的に始まります。");
    else
        state = AppLocale::text(u"The trigger key does not work in this session. In your desktop's keyboard settings, "
                                "create shortcuts for the commands “quillmere capture-region” and “quillmere "
                                "capture-window”.",
                                u"このセッションではトリガーキーを受け取れません。デスクトップのキーボード設定で"
                                "「quillmere capture-region」と「quillmere capture-window」にショートカットを"
                                "割り当ててください。");
    if (m_state->text() != state)
        m_state->setText(state);
    m_advice->setRoad(listener == KeyMonitor::Started::notYet ? KeyRoad::displayServer : road, started);
    m_toggle->setEnabled(started); // the desktop's own shortcuts can be tried as well
    if (!started)
        end();
    const QIcon icon = running ? Symbol::icon(QStringLiteral("checkmark.circle"), SystemLook::secondaryText(palette()))
                               : Symbol::icon(QStringLiteral("exclamationmark.triangle"), QColor(SystemLook::red));
    m_stateIcon->setPixmap(icon.pixmap({iconSize, iconSize}, devicePixelRatioF()));
}

QString KeyTest::stateOf(KeyRoad road) const
{
    switch (road) {
    case KeyRoad::none:
    case KeyRoad::displayServer: break;
    case KeyRoad::inputDevices:
        return AppLocale::text(
            u"Quillmere is listening for the trigger key, with the right to read keyboards: tap and hold.",
            u"キーボードを読み取る権限で、トリガーキー（タップと長押し）を待ち受けています。");
    case KeyRoad::compositor:
        return AppLocale::text(
            u"sway tells Quillmere of the trigger key: tap and hold. A hold counts when the key is released, "
            "and a click while it is down is not noticed.",
            u"トリガーキー（タップと長押し）を sway から受け取っています。長押しはキーを離したときに"
            "認識され、押している間のクリックは区別されません。");
    case KeyRoad::portal:
        return AppLocale::text(
            u"The desktop tells Quillmere of two shortcuts, for a region and for a window, in place of the "
            "trigger key. Choose their keys in the desktop's keyboard settings.",
            u"トリガーキーの代わりに、範囲用とウィンドウ用のショートカットをデスクトップから受け取ります。"
            "キーはデスクトップのキーボード設定で選べます。");
    }
    return AppLocale::text(u"Quillmere is listening for the trigger key.", u"トリガーキーを待ち受けています。");
}

void KeyTest::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    window()->installEventFilter(this);
    poll();
}

void KeyTest::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_poll.cancel();
    end();
}

void KeyTest::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        refresh();
    QWidget::changeEvent(event);
}

// A minimised window is out of mind, but not hidden.
bool KeyTest::eventFilter(QObject *object, QEvent *event)
{
    if (event->type() == QEvent::WindowStateChange && window()->isMinimized())
        end();
    return QWidget::eventFilter(object, event);
}

} // namespace qm
