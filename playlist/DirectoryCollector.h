#pragma once
// Lists every file below a folder, depth first: for each folder, first the files of its
// subfolders (recursively, subfolders in listing order), then its own files in listing order.
// Listing order is QDir's name order ignoring case. Hidden entries are not listed.
//
// A folder reached a second time (through a symbolic link that loops back, or two links to the
// same folder) is walked only once. A folder that cannot be read adds nothing and logs
// "Folder '%s' cannot be read!" at level 2.
//
// Threading: GUI thread (the playlist model's thread); one call at a time per object.

#include <QString>
#include <QStringList>

#include <set>
#include <utility>

class LogFile;

class DirectoryCollector {
public:
    explicit DirectoryCollector(LogFile& log) : log_(log) {}

    // Appends folder + "/" + name for every file below `folder` to `out`.
    void collect(const QString& folder, QStringList& out);

private:
    void walk(const QString& folder, QStringList& out);

    LogFile& log_;
    std::set<std::pair<unsigned long long, unsigned long long>> visited_; // (device, inode)
};
