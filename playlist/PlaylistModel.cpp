#include "PlaylistModel.h"

#include "LogFile.h"
#include "PathText.h"
#include "PlaylistCue.h"
#include "PlaylistFiles.h"
#include "PlaylistXspf.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

PlaylistModel::Options PlaylistModel::Options::systemDefaults() {
    Options options;
    options.tempFolder = QDir::tempPath() + QStringLiteral("/Tamberlo_tmp");
    options.lastPlaylistFile = QDir::tempPath() + QStringLiteral("/Tamberlo_Playlist.m3u");
    return options;
}

PlaylistModel::PlaylistModel(LogFile& log, Options options, QObject* parent)
    : QObject(parent), log_(log), options_(std::move(options)),
      unpacker_(log, options_.tempFolder, options_.unpackLimits), collector_(log) {}

bool PlaylistModel::hasRoomFor(std::size_t pathBytes) const {
    return entries_.size() < MaxPlaylistEntries &&
           pathBytes_ + static_cast<std::int64_t>(pathBytes) <= MaxPlaylistPathBytes;
}

bool PlaylistModel::appendEntry(PlaylistEntry&& entry) {
    if (!hasRoomFor(pathBytesOf(entry))) {
        return false;
    }
    pathBytes_ += static_cast<std::int64_t>(pathBytesOf(entry));
    entries_.push_back(std::move(entry));
    return true;
}

bool PlaylistModel::appendEntry(std::string title, std::string path) {
    PlaylistEntry entry;
    entry.title = std::move(title);
    entry.path = std::move(path);
    return appendEntry(std::move(entry));
}

void PlaylistModel::logFull(const std::string& path) {
    log_.logLine(LogFile::Red,
                 "The playlist is full (at most %zu entries, %lld bytes of paths); adding "
                 "stopped at '%s'!",
                 MaxPlaylistEntries, static_cast<long long>(MaxPlaylistPathBytes), path.c_str());
}

PlaylistModel::ListAdded PlaylistModel::appendListFile(const std::string& listPath,
                                                       ListFormat format) {
    const ListRoom room{MaxPlaylistEntries - entries_.size(), MaxPlaylistPathBytes - pathBytes_};
    ListRead list;
    switch (format) {
    case ListFormat::M3u:
        list = readM3u(listPath, room);
        break;
    case ListFormat::Pls:
        list = readPls(listPath, room);
        break;
    case ListFormat::Xspf:
        list = readXspf(listPath, room);
        break;
    case ListFormat::Cue:
        list = readCue(listPath, room);
        break;
    }
    if (list.status == ListReadStatus::TooLarge) {
        log_.logLine(LogFile::Red, "Playlist file '%s' is too large; not read!", listPath.c_str());
    }
    if (list.overlongLines > 0) {
        log_.logLine(LogFile::Red, "Playlist file '%s': %d line(s) longer than %zu bytes left out!",
                     listPath.c_str(), list.overlongLines, MaxPathBytes);
    }
    for (const std::string& problem : list.problems) {
        log_.logLine(LogFile::Red, "Playlist file '%s': %s!", listPath.c_str(), problem.c_str());
    }
    // One move of the whole list at most, while keeping the growth geometric for many small lists.
    const size_t needed = entries_.size() + list.entries.size();
    if (needed > entries_.capacity()) {
        entries_.reserve(std::max(needed, 2 * entries_.capacity()));
    }
    CueTrackResolver cueTracks;
    for (PlaylistEntry& entry : list.entries) {
        // One at a time, so the track files the reader's room did not count stay within ours.
        if (format != ListFormat::Cue) {
            cueTracks.resolve(entry);
        }
        if (!hasRoomFor(pathBytesOf(entry))) {
            list.full = true;
            break;
        }
        pathBytes_ += static_cast<std::int64_t>(pathBytesOf(entry));
        entries_.push_back(std::move(entry));
    }
    return {list.status, list.full};
}

void PlaylistModel::addPaths(const QStringList& paths) {
    const int first = count();
    const std::string here = QFile::encodeName(QDir::currentPath()).toStdString();
    for (const QString& text : paths) {
        std::string path = QFile::encodeName(text).toStdString();
        // Kept relative, the path would name another file once the current folder changes
        // (the next start restores the list from wherever the player is started).
        if (!pathtext::isAbsolutePath(path) && !pathtext::isHttpUrl(path)) {
            path = here + "/" + path;
        }
        if (path.size() > MaxPathBytes) {
            log_.logLine(LogFile::Red, "Path longer than %zu bytes not added: '%.200s...'!",
                         MaxPathBytes, path.c_str());
            continue;
        }
        bool room = true;
        if (pathtext::endsWithNoCase(path, ".zip")) {
            unpacker_.addArchive(path, [this, &room](PlaylistEntry&& entry) {
                room = appendEntry(std::move(entry));
                return room;
            });
        } else if (pathtext::endsWithNoCase(path, ".m3u")) {
            room = !appendListFile(path, ListFormat::M3u).full;
        } else if (pathtext::endsWithNoCase(path, ".pls")) {
            room = !appendListFile(path, ListFormat::Pls).full;
        } else if (pathtext::endsWithNoCase(path, ".xspf")) {
            room = !appendListFile(path, ListFormat::Xspf).full;
        } else if (pathtext::endsWithNoCase(path, ".cue")) {
            room = !appendListFile(path, ListFormat::Cue).full;
        } else if (path.starts_with("http://")) {
            room = appendEntry(path, path);
        } else {
            std::string slashed = pathtext::withForwardSlashes(path);
            std::string title(pathtext::afterLastSlash(slashed));
            room = appendEntry(std::move(title), std::move(slashed));
        }
        if (!room) {
            logFull(path);
            break;
        }
    }
    unplayable_.resize(entries_.size(), 0);
    if (count() > first) {
        emit entriesAppended(first, count() - first);
    }
}

QStringList PlaylistModel::expandFolders(const QStringList& paths) {
    QStringList expanded;
    for (const QString& path : paths) {
        if (QFileInfo(path).isDir()) {
            expanded += collectDirectory(path, true);
        } else {
            expanded << path;
        }
    }
    return expanded;
}

QStringList PlaylistModel::collectDirectory(const QString& folder, bool emptyFirst) {
    if (emptyFirst) {
        collected_.clear();
    }
    collector_.collect(folder, collected_);
    return collected_;
}

bool PlaylistModel::writeM3u(const QString& target) const {
    const M3uWrite result = ::writeM3u(target, entries_);
    if (result.skippedEntries > 0) {
        log_.logLine(LogFile::Red, "%d playlist entries with line breaks left out of '%s'!",
                     result.skippedEntries, QFile::encodeName(target).constData());
    }
    if (!result.written && !target.isEmpty()) {
        log_.logLine(LogFile::Red, "Could not save the playlist to '%s'!",
                     QFile::encodeName(target).constData());
    }
    return result.written;
}

void PlaylistModel::clearList(bool removeTempFolder) {
    entries_.clear();
    unplayable_.clear();
    pathBytes_ = 0;
    emit cleared();
    if (!removeTempFolder) {
        return;
    }
    unpacker_.forgetUnpacked();
    QDir folder(options_.tempFolder);
    if (!folder.exists()) {
        return;
    }
    // Hidden and System too: a member named "." unpacks to a hidden file, and a dangling link
    // counts as a system entry.
    const QStringList files = folder.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& name : files) {
        folder.remove(name);
    }
    QDir().rmdir(options_.tempFolder); // fails harmlessly while subfolders remain
}

int PlaylistModel::removeRows(std::vector<int> rows, int currentSound) {
    std::erase_if(rows, [this](int row) { return row < 0 || row >= count(); });
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    if (rows.empty()) {
        return currentSound;
    }
    // One compaction pass, so removing many rows of a long list stays linear.
    std::vector<char> removed(entries_.size(), 0);
    // From the highest row down, as a row-by-row removal would go: each removed row below the
    // playing one moves it up by one.
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
        removed[static_cast<size_t>(*row)] = 1;
        if (currentSound > *row) {
            --currentSound;
        }
    }
    size_t kept = 0;
    for (size_t i = 0; i < entries_.size(); ++i) {
        if (removed[i]) {
            pathBytes_ -= static_cast<std::int64_t>(pathBytesOf(entries_[i]));
            continue;
        }
        if (kept != i) { // a self-move would empty the strings
            entries_[kept] = std::move(entries_[i]);
            unplayable_[kept] = unplayable_[i];
        }
        ++kept;
    }
    entries_.resize(kept);
    unplayable_.resize(kept);

    for (size_t end = rows.size(); end > 0;) {
        size_t begin = end - 1;
        while (begin > 0 && rows[begin - 1] + 1 == rows[begin]) {
            --begin;
        }
        emit rowsRemoved(rows[begin], static_cast<int>(end - begin));
        end = begin;
    }
    return currentSound;
}

void PlaylistModel::setUnplayable(int row, bool unplayable) {
    if (row < 0 || row >= count()) {
        return;
    }
    unplayable_[static_cast<size_t>(row)] = unplayable ? 1 : 0;
    emit entryChanged(row);
}

void PlaylistModel::setEntry(int row, PlaylistEntry entry) {
    if (row < 0 || row >= count()) {
        return;
    }
    PlaylistEntry& kept = entries_[static_cast<size_t>(row)];
    pathBytes_ += static_cast<std::int64_t>(pathBytesOf(entry)) -
                  static_cast<std::int64_t>(pathBytesOf(kept));
    kept = std::move(entry);
    emit entryChanged(row);
}
