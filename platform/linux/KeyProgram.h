#pragma once

#include "platform/KeyMonitor.h"

#include <QFileSystemWatcher>
#include <QProcess>

#include <set>

namespace qm {

// Our qmkeys, which reads the keyboards where it has the right to. It is started again when the administrator gives or takes
// that right. Main thread.
class KeyProgram : public QObject
{
    Q_OBJECT

public:
    KeyProgram(const QString &path, std::function<void(const KeyEvent &)> handle);
    ~KeyProgram() override;

    void start();
    bool isListening() const { return m_isReady; }

Q_SIGNALS:
    void changed(); // it has begun to listen, or will not now; after a while also if it neither does nor ends

private:
    void read();
    void handle(const QByteArray &line);
    void ended();

    const std::function<void(const KeyEvent &)> m_handle;
    const QString m_path; // empty: there is none
    QProcess m_process;
    QFileSystemWatcher m_rights;
    std::set<int> m_pressed; // indices of modifierKeys
    bool m_isReady = false;
};

} // namespace qm
