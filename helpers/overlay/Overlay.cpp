#include "helpers/overlay/Overlay.h"

#include "ui/AppLocale.h"

namespace qm {

using namespace std::chrono_literals;

static constexpr auto holdRetry = 25ms;
static constexpr auto idleLimit = 60s;    // a screen locker must get the keyboard
static constexpr auto hintDelay = 1500ms; // users who know what to do have started by then

Overlay::Overlay(OverlayDesktop &desktop, const Options &options)
    : m_desktop(desktop)
    , m_screen(desktop.screen())
    , m_options(options)
    , m_scene(m_screen, options.offer)
{
}

Overlay::Choice Overlay::run()
{
    const OverlayDesktop::Start start = m_desktop.start();
    QList<QRect> monitors;
    for (const Monitor &monitor : m_screen.monitors())
        monitors.append(monitor.area);
    m_picker.emplace(m_options.mode, m_options.offer,
                     Picker::Start{.windows = m_screen.windows(),
                                   .monitors = monitors,
                                   .bounds = m_screen.area(),
                                   .lastRegion = m_options.lastRegion & m_screen.area(),
                                   .pointer = start.pointer,
                                   .scale = monitorAt(m_screen.monitors(), start.pointer).scale,
                                   .shift = start.shift});

    Choice choice;
    choice.failure = loop();
    if (choice.failure.isEmpty() && m_picker->result() != Picker::Result::open)
        choice.result = m_picker->result();
    if (m_options.chosen && choice.result != Picker::Result::cancelled)
        m_options.chosen(choice.result);
    m_desktop.lift();
    if (choice.result == Picker::Result::window) {
        choice.window = m_picker->window();
        choice.area = m_scene.windowArea(choice.window);
    } else if (choice.result != Picker::Result::cancelled) {
        choice.area = m_picker->selection();
    }
    return choice;
}

QString Overlay::unreadableScreen()
{
    return AppLocale::text(u"the display server does not allow reading the screen",
                           u"ディスプレイサーバーが画面の読み取りを許可していません");
}

// Runs until something is chosen or cancelled, or nobody does either for too long. Returns the reason of a failure.
QString Overlay::loop()
{
    if (m_screen.pixels().isNull())
        return unreadableScreen();
    if (!m_desktop.isDimmed())
        m_desktop.paint(m_frame, m_screen.area());
    const QDeadlineTimer holdDeadline(m_options.patience);
    m_idle.setRemainingTime(idleLimit);
    const QDeadlineTimer hint(hintDelay);
    while (m_picker->result() == Picker::Result::open) {
        while (const std::optional<OverlayDesktop::Input> input = m_desktop.next()) {
            if (input->kind < OverlayDesktop::Input::Kind::damaged) // it comes from the user
                m_idle.setRemainingTime(idleLimit);
            handle(*input);
            if (!m_failure.isEmpty())
                return m_failure;
        }
        m_inputHeld = m_inputHeld || m_desktop.holdInput();
        if (!m_inputHeld && holdDeadline.hasExpired())
            return AppLocale::text(u"another program has grabbed the keyboard or the pointer",
                                   u"ほかのプログラムがキーボードまたはポインターを占有しています");
        if (m_inputHeld && m_idle.hasExpired())
            return {};
        if (!m_textReady) {
            m_options.makeReadyForText();
            m_textReady = true;
        }
        m_hinted = m_hinted || hint.hasExpired();
        refresh();
        if (m_picker->result() != Picker::Result::open)
            break;
        if (!m_inputHeld)
            m_desktop.wait(holdRetry);
        else
            m_desktop.wait(std::chrono::milliseconds((m_hinted ? m_idle : std::min(hint, m_idle)).remainingTime()));
    }
    return {};
}

void Overlay::handle(const OverlayDesktop::Input &input)
{
    using Kind = OverlayDesktop::Input::Kind;
    switch (input.kind) {
    case Kind::move: m_picker->move(input.at); break;
    case Kind::press:
        m_picker->move(input.at);
        m_picker->press(input.button);
        break;
    case Kind::release:
        m_picker->move(input.at);
        m_picker->release(input.button);
        break;
    case Kind::keyDown:
        m_picker->keyDown(input.key, input.isTrigger);
        if (const QPoint by = m_picker->takeWarp(); !by.isNull())
            m_desktop.movePointer(by);
        break;
    case Kind::keyUp: m_picker->keyUp(input.key, input.isTrigger); break;
    case Kind::damaged: m_desktop.paint(m_frame, input.area); break;
    case Kind::resized: m_failure = AppLocale::text(u"the screen changed", u"画面の構成が変わりました"); break;
    case Kind::gone:
        m_failure = AppLocale::text(u"the display server is gone", u"ディスプレイサーバーとの接続が切れました");
        break;
    }
}

void Overlay::refresh()
{
    using Words = OverlayScene::Words;
    const Words words = !m_textReady ? Words::none : m_hinted ? Words::labelsAndHint : Words::labels;
    OverlayFrame frame = m_scene.compose(*m_picker, words);
    const QRegion changed = damage(m_frame, frame);
    m_frame = std::move(frame);
    m_desktop.paint(m_frame, changed);
    if (m_inputHeld) {
        m_desktop.setPointer(m_picker->mode() == Picker::Mode::region ? OverlayDesktop::Pointer::cross
                                                                      : OverlayDesktop::Pointer::camera,
                             monitorAt(m_screen.monitors(), m_picker->pointer()).scale);
    }
    m_desktop.flush();
}

} // namespace qm
