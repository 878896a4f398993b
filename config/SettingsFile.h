#pragma once

#include "platform/Outcome.h"

#include <QJsonObject>

#include <array>
#include <map>
#include <optional>

namespace qm {

// Reads and writes one JSON settings file for ConfigStore. Any thread; nothing is cached.
class SettingsFile
{
public:
    using Values = std::map<QString, QJsonValue>; // an undefined value removes its key

    explicit SettingsFile(QString path)
        : m_path(std::move(path))
    {
    }

    QString path() const { return m_path; }
    QJsonObject read() const; // empty if the file is missing, unreadable or not a JSON object

    // Reads the file, sets the keys and replaces the file atomically, so that a full disk or a crash leaves the old one.
    // A file that is not a JSON object is kept as "NAME.broken"; one that cannot be read is left alone, which is a
    // failure. So is a missing folder: it may be that of a drive which is not connected. A new file is for its owner, and for
    // those who may replace it: the group, say, where it may write in the folder. It can be written by them, whatever the umask.
    Outcome set(const Values &values) const;

private:
    QString m_path;
};

// A settings file as it was when this was made, along with its broken predecessor, to be put back when a later step
// fails. Any thread.
class SettingsBackup
{
public:
    explicit SettingsBackup(const SettingsFile &file);
    // Files that did not exist are deleted again, and unchanged ones are not touched.
    Outcome restore() const;

private:
    struct Copy {
        QString path;
        std::optional<QByteArray> bytes; // std::nullopt if there was no file, or none that could be read
    };
    std::array<Copy, 2> m_copies;
};

} // namespace qm
