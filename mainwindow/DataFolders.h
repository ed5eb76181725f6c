#pragma once
// Where the player keeps settings.ini and logfile.html. Beside the program is the first
// choice (a build folder, a copy in the user's home, a portable install). Where the program's
// folder is not writable (an install under /usr or /opt), settings go to the XDG config folder
// ($XDG_CONFIG_HOME/tamberlo, default ~/.config/tamberlo) and the log to the XDG state folder
// ($XDG_STATE_HOME/tamberlo, default ~/.local/state/tamberlo).
//
// Threading: any thread (no Qt application object needed).

#include <QString>

struct DataFolders {
    QString settingsFile; // absolute path of settings.ini
    QString logFile;      // absolute path of logfile.html
    bool besideProgram = true;
};

// Chooses for the program folder `appDir`. "Writable" is what access(W_OK) says, so a folder
// on a read-only file system counts as not writable even for root. The XDG folders are created
// when they are chosen; a failure there shows later as settings or log lines not written.
DataFolders chooseDataFolders(const QString& appDir);
