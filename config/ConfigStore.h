#pragma once

#include "config/Hotkey.h"
#include "platform/Outcome.h"

#include <QJsonObject>
#include <QString>

#include <optional>

namespace qm {

// The settings: ~/.quillmere/config.json, overlaid by the config.json of a shared folder when "cloud" names one.
// Any thread. Nothing is cached: every call reads the disk, so a change by another program holds from the next call on.
// Reading never fails: what is missing, broken or of the wrong type reads as absent.
namespace ConfigStore {

QString homeFolder(); // .quillmere in the user's home; settings and index live here
QString localFile();  // config.json in it
QString sharedFile(); // the one that "cloud" governs; empty when there is none

QJsonObject effective(); // local and shared merged: the shared value wins, but "cloud" is always the local one
Hotkey resolveHotkey();
QString resolveCaptureDir(); // where new captures are saved; absolute, not created
QString resolveSource();     // where the system's own tool saves; may wait for another program
bool autoOcr();              // on, unless the settings say a plain false

// The same for settings that are not in force: what they would be with another shared folder (empty: none), and what
// becomes of them.
QJsonObject effectiveWithCloud(const QString &path);
Hotkey resolveHotkey(const QJsonObject &settings);
QString resolveCaptureDir(const QJsonObject &settings);
bool autoOcr(const QJsonObject &settings);
QString systemSource(); // resolveSource() where no settings name the folder; may wait as well

// Creates a folder with all above it; .quillmere itself is made for its owner only. False when it cannot be.
bool createFolder(const QString &path);

// Set a key in the file that governs the settings (the shared one when there is a cloud folder), or remove it with no value.
Outcome setShared(const QString &key, const std::optional<QJsonValue> &value);
// Sets the shared folder, in the local file only; no path or an empty one ends sharing. No settings are copied.
Outcome setCloud(const std::optional<QString> &path);

// Where a resolved value came from, for people who wonder.
enum class Origin { shared, local, system, standard };
Origin originOf(const QString &key);

} // namespace ConfigStore

// The folder a user wrote: "~" and "~/" stand for the home folder, a relative path counts from it (a program started from
// a menu has no folder of its own), trailing slashes go. Nothing for an empty text.
std::optional<QString> folderFromText(const QString &text);

// The folder in a system tool's answer: UTF-8, white space around it dropped.
std::optional<QString> folderFromAnswer(const QByteArray &answer);

} // namespace qm
