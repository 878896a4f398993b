#include "helpers/overlay/Overlay.h"

#include <QDeadlineTimer>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto holdRetry = 25ms;
static constexpr auto holdLimit = 1s;
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
    m_picker.emplace(m_options.mode, m_options.offer, m_screen.windows(), m_screen.area(),
                     monitorAt(m_screen.monitors(), start.pointer).scale);
    m_picker->move(start.pointer);
    if (start.shift)
        m_picker->keyDown(Picker::Key::shift);

    Choice choice;
    choice.failure = loop();
    m_desktop.lift();
    choice.result = choice.failure.isEmpty() ? m_picker->result() : Picker::Result::cancelled;
    if (choice.result == Picker::Result::region)
        choice.area = m_picker->selection();
    if (choice.result == Picker::Result::window) {
        choice.window = m_picker->window();
        choice.area = m_scene.windowArea(choice.window);
    }
    return choice;
}

// Runs until something is chosen or cancelled. Returns the reason of a failure.
QString Overlay::loop()
{
    if (m_screen.pixels().isNull())
        return QStringLiteral("the display server does not allow reading the screen");
    if (!m_desktop.isDimmed())
        m_desktop.paint(m_frame, m_screen.area());
    const QDeadlineTimer holdDeadline(holdLimit);
    const QDeadlineTimer hint(hintDelay);
    while (m_picker->result() == Picker::Result::open) {
        while (const std::optional<OverlayDesktop::Input> input = m_desktop.next()) {
            handle(*input);
            if (!m_failure.isEmpty())
                return m_failure;
        }
        m_inputHeld = m_inputHeld || m_desktop.holdInput();
        if (!m_inputHeld && holdDeadline.hasExpired())
            return QStringLiteral("another program has grabbed the keyboard or the pointer");
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
        else if (m_hinted)
            m_desktop.wait({});
        else
            m_desktop.wait(std::chrono::milliseconds(hint.remainingTime()));
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
        m_picker->keyDown(input.key);
        if (const QPoint by = m_picker->takeWarp(); !by.isNull())
            m_desktop.movePointer(by);
        break;
    case Kind::keyUp: m_picker->keyUp(input.key); break;
    case Kind::damaged: m_desktop.paint(m_frame, input.area); break;
    case Kind::resized: m_failure = QStringLiteral("the screen changed"); break;
    case Kind::gone: m_failure = QStringLiteral("the display server is gone"); break;
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
