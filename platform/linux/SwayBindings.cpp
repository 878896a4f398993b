#include "platform/linux/SwayBindings.h"

#include "platform/linux/ModifierKeys.h"
#include "platform/wayland/SwayIpc.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr auto patience = 200ms; // for the rest of a message that has begun
constexpr int mostAttempts = 30; // to bind again: one a second
constexpr char pressed[] = "nop quillmere trigger pressed", released[] = "nop quillmere trigger released";

const ModifierKey &keyOf(int keyCode)
{
    return *std::find_if(modifierKeys.begin(), modifierKeys.end(),
                         [&](const ModifierKey &key) { return key.keyCode == keyCode; });
}

// False if sway refuses any of the commands.
bool runAll(const QByteArray &commands)
{
    const std::unique_ptr<SwayIpc> sway = SwayIpc::connect();
    const std::optional<std::string> answer =
        sway ? sway->ask(SwayIpc::runCommand, {commands.constData(), size_t(commands.size())}) : std::nullopt;
    const QJsonArray results = QJsonDocument::fromJson(QByteArray::fromStdString(answer.value_or(""))).array();
    return !results.isEmpty() && std::all_of(results.begin(), results.end(), [](const QJsonValue &result) {
        return result.toObject().value(QLatin1StringView("success")).toBool();
    });
}

} // namespace

SwayBindings::SwayBindings(std::function<void(const KeyEvent &)> handle)
    : m_handle(std::move(handle))
{
    m_again.setSingleShot(true);
    m_again.setInterval(1s);
    m_again.callOnTimeout([this] { bindAgain(); });
}

SwayBindings::~SwayBindings()
{
    stop();
}

bool SwayBindings::start(int keyCode)
{
    if (m_events && keyCode == m_keyCode)
        return true;
    stop();
    m_keyCode = keyCode;
    m_events = SwayIpc::connect();
    if (!m_events || !m_events->ask(SwayIpc::subscribe, R"(["binding", "workspace"])") || !bind()) {
        m_events.reset();
        return false;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_events->descriptor(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] { read(); });
    return true;
}

void SwayBindings::stop()
{
    if (!m_events)
        return;
    m_again.stop();
    m_notifier.reset();
    m_events.reset();
    m_down.invalidate();
    unbind();
}

bool SwayBindings::bind()
{
    const QByteArray code = QByteArray::number(keyOf(m_keyCode).xKeyCode);
    return runAll("bindcode --no-repeat --no-warn " + code + ' ' + pressed + "; bindcode --release --no-warn " + code +
                  ' ' + released);
}

void SwayBindings::unbind()
{
    const QByteArray code = QByteArray::number(keyOf(m_keyCode).xKeyCode);
    runAll("unbindcode " + code + "; unbindcode --release " + code);
}

void SwayBindings::read()
{
    const std::optional<SwayIpc::Message> event = m_events->receive(patience);
    if (!event) { // sway has ended
        m_again.stop();
        m_notifier.reset();
        m_events.reset();
        return;
    }
    const QByteArray content = QByteArray::fromStdString(event->payload);
    const QJsonObject told = QJsonDocument::fromJson(content).object();
    if (event->type == SwayIpc::bindingEvent) {
        handle(told.value(QLatin1StringView("binding"))
                   .toObject()
                   .value(QLatin1StringView("command"))
                   .toString()
                   .toLatin1());
    } else if (told.value(QLatin1StringView("change")).toString() == QLatin1StringView("reload")) {
        m_attempts = mostAttempts;
        bindAgain(); // its configuration, read again, has replaced all bindings
    }
}

void SwayBindings::bindAgain()
{
    // Busy with what else has changed, sway may answer too late, and then knows nothing of the question.
    if (!bind() && --m_attempts > 0)
        m_again.start();
}

void SwayBindings::handle(const QByteArray &binding)
{
    if (binding == pressed) {
        m_down.start();
    } else if (binding == released && m_down.isValid()) {
        m_handle({.type = KeyEvent::Type::usedAlone,
                  .keyCode = m_keyCode,
                  .held = std::chrono::milliseconds(m_down.elapsed())});
        m_down.invalidate();
    }
}

} // namespace qm
