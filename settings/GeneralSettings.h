#pragma once

#include "config/Hotkey.h"
#include "platform/Outcome.h"

#include <QJsonObject>
#include <QString>

namespace qm {

// What the general form edits: the state behind its widgets, without any. Paths are as the user writes them ("~" allowed),
// empty where the settings name none. Main thread.
struct GeneralSettings {
    QString captures; // where new captures go
    QString source;   // where the system's own tool saves
    QString cloud;    // the folder that shares settings between machines
    Hotkey hotkey;
    bool autoOcr = true;
    bool launchAtLogin = false;

    static GeneralSettings read();
    // What would be read with another shared folder: its file may hold settings already.
    static GeneralSettings readWithCloud(const QString &cloud);

    // The shared folder first, so that what follows lands in its file; launch at login last. Stops at the first failure.
    Outcome save() const;

    // Every value that is as it was in before becomes what it is in now: what the user has not touched follows the files.
    void follow(const GeneralSettings &before, const GeneralSettings &now);

    // The folders that an empty entry stands for, once these are saved.
    QString captureDirWhenEmpty() const;
    QString sourceWhenEmpty() const; // any thread; may wait for another program

    bool operator==(const GeneralSettings &) const = default;
};

} // namespace qm
