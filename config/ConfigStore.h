#pragma once

#include "config/Hotkey.h"
#include "platform/Outcome.h"

#include <QJsonObject>
#include <QString>

#include <functional>
#include <map>
#include <optional>

namespace qm {

// The settings: ~/.quillmere/config.json, overlaid by the config.json of a shared folder if "cloud" names one. Any
// thread. Nothing is cached: every call reads the disk, so another program's change takes effect with the next call.
// Reading never fails: missing, broken or mistyped values count as absent.
namespace ConfigStore {

QString homeFolder(); // .quillmere in the user's home; holds settings and index
QString localFile();  // config.json in it
// For what need not outlive the session: XDG_RUNTIME_DIR or, if that is not set, the folder that it is on most systems;
// the home folder if there is none.
QString runtimeFolder();
QString sharedFolder(); // the one "cloud" names, absolute; empty if there is none
QString sharedFile();   // config.json in it; empty if there is none

QJsonObject effective(); // local and shared merged: shared values win, except that "cloud" is always the local one
Hotkey resolveHotkey();
QString
resolveCaptureDir();     // where new captures are saved: absolute, not created, at home while the shared one is away
QString resolveSource(); // where the system's own tool saves; may wait for another program
bool autoOcr();          // on, unless the settings say false
bool showPreview();      // a card after each capture: on, unless the settings say false

// The same for settings that are not in force: what they would be with another shared folder (empty: none), and the
// values that follow from them.
QJsonObject effectiveWithCloud(const QString &path);
Hotkey resolveHotkey(const QJsonObject &settings);
QString resolveCaptureDir(const QJsonObject &settings);
bool autoOcr(const QJsonObject &settings);
bool showPreview(const QJsonObject &settings);
QString systemSource(); // resolveSource() if the settings do not name the folder; may wait as well

// Has another shared folder settings of its own, which saving must not cover with ours?
bool hasSettings(const QString &cloud);

// Creates a folder and its parents; .quillmere itself is created for its owner only. False on failure.
bool createFolder(const QString &path);

// Sets a key in the governing file (the shared one if there is a cloud folder), or removes it if there is no value. Does
// not create the shared folder.
Outcome setShared(const QString &key, const std::optional<QJsonValue> &value);
// Sets the shared folder, in the local file only; no path or an empty one ends sharing. Copies no settings.
Outcome setCloud(const std::optional<QString> &path);

// What one save changes. All other keys keep the values that the files have by then.
struct Changes {
    std::optional<QString> cloud;         // as for setCloud; stays if there is none
    std::map<QString, QJsonValue> shared; // to the file that governs then; an undefined value removes its key
};
// Writes the changes and then calls last. They come into force together: if anything fails, last included, what was
// written before is put back. Does not create the shared folder.
Outcome save(const Changes &changes, const std::function<Outcome()> &last);

// Where a resolved value came from, for display.
enum class Origin { shared, local, system, standard };
Origin originOf(const QString &key);

} // namespace ConfigStore

// Folder from user input: "~" and "~/" stand for the home folder, a relative path starts there (a program started from
// a menu has no working folder of its own), trailing slashes are dropped. std::nullopt for an empty text.
std::optional<QString> folderFromText(const QString &text);

// Folder from a system tool's answer: UTF-8, surrounding white space dropped.
std::optional<QString> folderFromAnswer(const QByteArray &answer);

} // namespace qm
