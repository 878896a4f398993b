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
    bool showPreview = true;
    bool autoOcr = true;
    bool launchAtLogin = false;

    static GeneralSettings read();
    // What would be read with another shared folder if that has settings of its own, otherwise what is in force; cloud
    // is the one in force either way, launchAtLogin is not read. Any thread; may wait for a slow folder.
    static GeneralSettings readWithCloud(const QString &cloud);

    // Saves what differs from before, which is what the user started from, and nothing else: the files may have changed
    // meanwhile. Only a new shared folder without settings, or the end of sharing, takes along all that is shown. After
    // a failure everything is as it was.
    Outcome save(const GeneralSettings &before) const;

    // Updates every value equal to that in before to the one in now: whatever the user has not touched follows the
    // files.
    void follow(const GeneralSettings &before, const GeneralSettings &now);

    // The folders that empty entries stand for, once these settings are saved.
    QString captureDirWhenEmpty() const; // any thread
    QString sourceWhenEmpty() const;     // any thread; may wait for another program

    bool operator==(const GeneralSettings &) const = default;
};

} // namespace qm
