#include "DataFolders.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

namespace {

// An XDG base folder from `variable` when it holds an absolute path (relative ones are to be
// ignored), else `fallback` below the home folder.
QString xdgFolder(const char* variable, const QString& fallback) {
    const QString value = qEnvironmentVariable(variable);
    if (QDir::isAbsolutePath(value)) {
        return value;
    }
    return QDir::home().filePath(fallback);
}

} // namespace

DataFolders chooseDataFolders(const QString& appDir) {
    DataFolders folders;
    if (::access(QFile::encodeName(appDir).constData(), W_OK) == 0) {
        folders.settingsFile = QDir(appDir).filePath("settings.ini");
        folders.logFile = QDir(appDir).filePath("logfile.html");
        return folders;
    }
    // Qt 6.4 has no location for state data, so both come from the XDG variables directly
    // (QStandardPaths' config location is the same folder for a program named tamberlo).
    const QString config = QDir(xdgFolder("XDG_CONFIG_HOME", ".config")).filePath("tamberlo");
    const QString state = QDir(xdgFolder("XDG_STATE_HOME", ".local/state")).filePath("tamberlo");
    QDir().mkpath(config);
    QDir().mkpath(state);
    folders.settingsFile = QDir(config).filePath("settings.ini");
    folders.logFile = QDir(state).filePath("logfile.html");
    folders.besideProgram = false;
    return folders;
}
