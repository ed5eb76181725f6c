#include "PlaylistModel.h"

#include "LogFile.h"
#include "PathText.h"
#include "PlaylistFiles.h"

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
      unpacker_(log, options_.tempFolder, options_.maxUnpackedMemberBytes), collector_(log) {}

void PlaylistModel::appendEntry(std::string title, std::string path) {
    PlaylistEntry entry;
    entry.title = std::move(title);
    entry.path = std::move(path);
    entries_.push_back(std::move(entry));
}

void PlaylistModel::appendListFile(const std::string& listPath, bool pls) {
    ListRead list = pls ? readPls(listPath) : readM3u(listPath);
    if (list.status == ListReadStatus::TooLarge) {
        log_.logLine(LogFile::Red, "Playlist file '%s' is too large; not read!", listPath.c_str());
    }
    entries_.insert(entries_.end(), std::make_move_iterator(list.entries.begin()),
                    std::make_move_iterator(list.entries.end()));
}

void PlaylistModel::addPaths(const QStringList& paths) {
    const int first = count();
    for (const QString& text : paths) {
        std::string path = QFile::encodeName(text).toStdString();
        if (pathtext::endsWithNoCase(path, ".zip")) {
            unpacker_.addArchive(path, entries_);
        } else if (pathtext::endsWithNoCase(path, ".m3u")) {
            appendListFile(path, false);
        } else if (pathtext::endsWithNoCase(path, ".pls")) {
            appendListFile(path, true);
        } else if (path.starts_with("http://")) {
            appendEntry(path, path);
        } else {
            std::string slashed = pathtext::withForwardSlashes(path);
            std::string title(pathtext::afterLastSlash(slashed));
            appendEntry(std::move(title), std::move(slashed));
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
    return result.written;
}

void PlaylistModel::clearList(bool removeTempFolder) {
    entries_.clear();
    unplayable_.clear();
    emit cleared();
    if (!removeTempFolder) {
        return;
    }
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
    entries_[static_cast<size_t>(row)] = std::move(entry);
    emit entryChanged(row);
}
