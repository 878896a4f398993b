#include "platform/linux/KeyProgram.h"

#include "platform/ParentDeath.h"
#include "platform/linux/ModifierKeys.h"

#include <QTimer>

#include <algorithm>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto patience = 1s;

KeyProgram::KeyProgram(const QString &path, std::function<void(const KeyEvent &)> handle)
    : m_handle(std::move(handle))
    , m_path(path)
{
    m_process.setProgram(m_path);
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.setChildProcessModifier(&endWithParent); // it also ends when nobody reads any more
    connect(&m_process, &QProcess::readyReadStandardOutput, this, [this] { read(); });
    connect(&m_process, &QProcess::stateChanged, this, [this](QProcess::ProcessState state) {
        if (state == QProcess::NotRunning)
            ended();
    });
    connect(&m_rights, &QFileSystemWatcher::fileChanged, this, [this] { start(); });
}

KeyProgram::~KeyProgram()
{
    m_process.disconnect(this);
    m_process.kill();
    m_process.waitForFinished();
}

void KeyProgram::start()
{
    if (m_path.isEmpty()) {
        QMetaObject::invokeMethod(this, &KeyProgram::changed, Qt::QueuedConnection);
        return;
    }
    if (!m_rights.files().contains(m_path))
        m_rights.addPath(m_path); // forgets a file that was replaced
    {
        const QSignalBlocker restarting(this); // nobody shall take its place meanwhile
        m_process.kill();
        m_process.waitForFinished();
    }
    m_process.start(QIODevice::ReadOnly);
    QTimer::singleShot(patience, this, &KeyProgram::changed);
}

void KeyProgram::read()
{
    while (m_process.canReadLine())
        handle(m_process.readLine().trimmed());
}

void KeyProgram::handle(const QByteArray &line)
{
    const auto flags = [this] {
        quint32 mask = 0;
        for (const int pressed : m_pressed)
            mask |= modifierKeys[size_t(pressed)].flag;
        return mask;
    };
    if (line == "ready") {
        m_isReady = true;
        Q_EMIT changed();
    } else if (line == "key") {
        m_handle({.type = KeyEvent::Type::keyDown, .keyCode = noModifier, .flags = flags()});
    } else {
        const QByteArray name = line.mid(line.indexOf(' ') + 1);
        const auto key = std::find_if(modifierKeys.begin(), modifierKeys.end(),
                                      [&](const ModifierKey &candidate) { return name == candidate.name; });
        if (key == modifierKeys.end())
            return;
        const int index = int(key - modifierKeys.begin());
        if (line.startsWith("down "))
            m_pressed.insert(index);
        else
            m_pressed.erase(index);
        m_handle({.type = KeyEvent::Type::flagsChanged,
                  .keyCode = key->keyCode,
                  .flags = flags(),
                  .othersDown = m_pressed.size() > m_pressed.count(index)});
    }
}

// What is down when it ends is no gesture any more.
void KeyProgram::ended()
{
    m_isReady = false;
    if (!m_pressed.empty())
        m_handle({.type = KeyEvent::Type::keyDown, .keyCode = noModifier});
    m_pressed.clear();
    Q_EMIT changed();
}

} // namespace qm
