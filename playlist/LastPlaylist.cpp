// The last playlist, kept between runs: restoring it at start, tidying the unpacked zip members
// of earlier runs, and saving it at exit without ever losing a list that was not read.
#include "LogFile.h"
#include "PlaylistModel.h"

#include <QDir>
#include <QFile>

#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>

namespace {

// True when this user owns `path` and, for a symbolic link, what it points to as well.
bool ownedByThisUser(const std::string& path) {
    struct stat link {};
    struct stat target {};
    const uid_t me = ::geteuid();
    if (::lstat(path.c_str(), &link) != 0 || link.st_uid != me) {
        return false;
    }
    return !S_ISLNK(link.st_mode) || (::stat(path.c_str(), &target) == 0 && target.st_uid == me);
}

bool exists(const std::string& path) {
    struct stat link {};
    return ::lstat(path.c_str(), &link) == 0;
}

} // namespace

PlaylistModel::LastList PlaylistModel::restoreLastPlaylist() {
    const std::string path = QFile::encodeName(options_.lastPlaylistFile).toStdString();
    if (!exists(path)) {
        lastListRead_ = true;
        removeUnreferencedTempFiles();
        return LastList::Missing;
    }
    // In a temporary folder shared by all users anyone can plant this file.
    if (!ownedByThisUser(path)) {
        log_.logLine(LogFile::Red, "Last playlist '%s' belongs to another user; not loaded!",
                     path.c_str());
        return LastList::Refused;
    }
    const int first = count();
    const ListAdded added = appendListFile(path, ListFormat::M3u);
    unplayable_.resize(entries_.size(), 0);
    if (count() > first) {
        emit entriesAppended(first, count() - first);
    }
    if (added.status != ListReadStatus::Ok) {
        log_.logLine(LogFile::Red, "Last playlist '%s' could not be read; it is kept as it is!",
                     path.c_str());
        return LastList::Refused;
    }
    if (added.full) {
        logFull(path);
    }
    lastListRead_ = true;
    removeUnreferencedTempFiles();
    return LastList::Restored;
}

void PlaylistModel::saveLastPlaylist() {
    if (entries_.empty() && !lastListRead_) {
        return; // the file there was never read: keep it for a later start
    }
    writeM3u(options_.lastPlaylistFile);
}

void PlaylistModel::removeUnreferencedTempFiles() {
    QDir folder(options_.tempFolder);
    if (!folder.exists()) {
        return;
    }
    std::unordered_set<std::string_view> used;
    for (const PlaylistEntry& entry : entries_) {
        used.insert(entry.path);
    }
    const std::string prefix = QFile::encodeName(options_.tempFolder).toStdString() + "/";
    int removed = 0;
    // The same listing as clearList: hidden names and dangling links are unpacked files too.
    for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden | QDir::System)) {
        if (!used.contains(prefix + QFile::encodeName(name).toStdString()) && folder.remove(name)) {
            ++removed;
        }
    }
    if (removed > 0) {
        log_.logLine(LogFile::Black,
                     "Removed %d unpacked files that no playlist entry uses from '%s'", removed,
                     prefix.c_str());
    }
}
