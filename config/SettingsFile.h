#pragma once

#include "platform/Outcome.h"

#include <QJsonObject>

namespace qm {

// One JSON settings file: the unit of reading and writing below ConfigStore. Any thread; nothing is kept.
class SettingsFile
{
public:
    explicit SettingsFile(QString path)
        : m_path(std::move(path))
    {
    }

    QString path() const { return m_path; }
    QJsonObject read() const; // empty for a file that is missing, unreadable or no JSON object

    // Reads, sets the key (removes it for an undefined value) and writes the whole file: beside it and then into its
    // place, so that a full disk or a crash leaves the old one. A file that was no JSON object is kept beside as
    // "NAME.broken". Folders are made.
    Outcome set(const QString &key, const QJsonValue &value) const;

private:
    QString m_path;
};

} // namespace qm
