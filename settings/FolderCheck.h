#pragma once

#include "settings/GeneralSettings.h"

namespace qm {

// What is wrong with a folder in the settings.
enum class FolderProblem {
    none,        // it is there and can be written to, or can be created
    file,        // it is a file, or its path leads through one
    notWritable, // it is there, but nothing can be saved in it
    cannotBeCreated,
    missing, // a shared folder has to be there when it is chosen
    away,    // the shared folder in force shows nothing of ours: a drive that is not connected
};

// Can pictures be saved in this folder, or could it be created? Any thread; may wait for a slow folder.
FolderProblem folderProblem(const QString &path);

// What saving would find on the disk. Any thread; may wait for slow folders.
struct FolderCheck {
    // Of what the user entered, having started from before.
    FolderCheck(const GeneralSettings &entered, const GeneralSettings &before);

    GeneralSettings files; // readWithCloud() with the shared folder that was entered
    FolderProblem captures = FolderProblem::none;
    FolderProblem source = FolderProblem::none; // never refused: the desktop decides what becomes of its folder
    FolderProblem cloud = FolderProblem::none;

    // Saving would bring a folder into force that cannot be. One that is in force already does not keep other settings
    // from being saved, unless they go to a shared folder that is away.
    bool refusesCaptures = false;
    bool refusesCloud = false;
};

} // namespace qm
