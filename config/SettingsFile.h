#pragma once

#include "platform/Outcome.h"

#include <QJsonObject>

namespace qm {

// Reads and writes one JSON settings file for ConfigStore. Any thread; nothing is cached.
class SettingsFile
{
public:
    explicit SettingsFile(QString path)
        : m_path(std::move(path))
    {
    }

    QString path() const { return m_path; }
    QJsonObject read() const; // empty if the file is missing, unreadable or not a JSON object

    // Reads the file, sets the key (removes it if the value is undefined) and replaces the file atomically, so that a
    // full disk or a crash leaves the old one. A file that is not a JSON object is kept as "NAME.broken". Creates
    // missing folders.
    Outcome set(const QString &key, const QJsonValue &value) const;

private:
    QString m_path;
};

} // namespace qm
