#pragma once

#include "config/Hotkey.h"
#include "platform/Outcome.h"

#include <QJsonObject>
#include <QString>

namespace qm {

// The data edited by the general form, without its widgets. Paths are as the user writes them ("~" allowed), empty if
// the settings name none. Main thread.
struct GeneralSettings {
    QString captures; // folder for new captures
    QString source;   // folder where the system's own tool saves
    QString cloud;    // folder that shares settings between machines
    Hotkey hotkey;
    bool autoOcr = true;
    bool launchAtLogin = false;

    static GeneralSettings read();
    // What would be read with another shared folder, whose file may already hold settings.
    static GeneralSettings readWithCloud(const QString &cloud);

    // Saves the shared folder first, so that the rest lands in its file; launch at login last. Stops at the first
    // failure.
    Outcome save() const;

    // Updates every value equal to that in before to the one in now: whatever the user has not touched follows the
    // files.
    void follow(const GeneralSettings &before, const GeneralSettings &now);

    // The folders that empty entries stand for, once these settings are saved.
    QString captureDirWhenEmpty() const;
    QString sourceWhenEmpty() const; // any thread; may wait for another program

    bool operator==(const GeneralSettings &) const = default;
};

} // namespace qm
