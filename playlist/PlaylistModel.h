#pragma once
// The playlist: the ordered entries that the playlist window shows row for row, and the
// operations that add, remove and save them. Entry i is always row i. Entries are never checked
// for existence and the same path may appear any number of times.
//
// The window owns one model and mirrors it through the signals below; each signal is emitted
// after the model has changed, so count() and entry() already give the new state.
//
// Threading: GUI thread only (a QObject of that thread); nothing here is thread-safe.

#include "DirectoryCollector.h"
#include "PlaylistEntry.h"
#include "PlaylistFiles.h"
#include "PlaylistLimits.h"
#include "ZipUnpacker.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

class LogFile;

class PlaylistModel : public QObject {
    Q_OBJECT
public:
    struct Options {
        // Folder for unpacked zip members; created on demand, emptied by clearList(true).
        QString tempFolder;
        // Where the player keeps the last playlist between runs (restoreLastPlaylist and
        // saveLastPlaylist).
        QString lastPlaylistFile;
        // What unpacking zip archives may write (PlaylistLimits.h).
        ZipUnpacker::Limits unpackLimits;

        // QDir::tempPath() + "/Tamberlo_tmp" and QDir::tempPath() + "/Tamberlo_Playlist.m3u".
        static Options systemDefaults();
    };

    // `log` receives zip, folder and playlist-file errors (the player passes *theLogFile); it must
    // outlive the model.
    explicit PlaylistModel(LogFile& log, Options options = Options::systemDefaults(),
                           QObject* parent = nullptr);

    const Options& options() const { return options_; }

    // ---- reading ----
    int count() const { return static_cast<int>(entries_.size()); }
    // 0 <= row < count().
    const PlaylistEntry& entry(int row) const { return entries_[static_cast<size_t>(row)]; }
    const std::vector<PlaylistEntry>& entries() const { return entries_; }
    // True after setUnplayable(row): the song failed to load (shown struck out). 0 <= row <
    // count().
    bool isUnplayable(int row) const { return unplayable_[static_cast<size_t>(row)] != 0; }

    // ---- adding ----
    // Appends entries for `paths` in order, one entriesAppended for the whole call:
    // - ends with ".zip" (any case): every file member unpacked to the temporary folder;
    // - ends with ".m3u" / ".pls" (any case): the entries that file lists (PlaylistFiles.h);
    // - ends with ".xspf" (any case): the entries of that XSPF list (PlaylistXspf.h);
    // - ends with ".cue" (any case): one entry per track of that CUE sheet (PlaylistCue.h);
    // - starts with "http://" (exact case): one entry, title = path = the text;
    // - otherwise: '\' -> '/', title = text after the last '/', one entry. No trimming, no
    //   existence test.
    // Paths are converted to 8-bit with QFile::encodeName. A relative path (not a stream) is
    // first joined to the current folder, so the entry names the same file from anywhere. A
    // path longer than MaxPathBytes is left out. Once the list holds MaxPlaylistEntries entries
    // or MaxPlaylistPathBytes bytes of paths (pathBytesOf), nothing more is added. Entries of
    // M3U, PLS and XSPF lists that name a CUE sheet's track ("SHEET.cue#N", what a saved list
    // holds for a track) become that track again (CueTrackResolver). Errors, problems the
    // readers report and left-out paths are logged, never fatal.
    void addPaths(const QStringList& paths);

    // Collects every file below `folder` (see DirectoryCollector.h for the order) into a list
    // shared between calls; `emptyFirst` empties it before the walk (top-level callers pass
    // true). Returns a copy of the shared list.
    QStringList collectDirectory(const QString& folder, bool emptyFirst = true);
    // `paths` in order, each folder among them replaced by the files below it (as above): what
    // a drop or a command line of files and folders adds.
    QStringList expandFolders(const QStringList& paths);

    // ---- saving ----
    // Writes every entry's path to `target` as an M3U file, atomically (PlaylistFiles.h). Entries
    // whose path holds a line break are left out and logged. Returns false when nothing could be
    // written: logged, except for an empty `target` (a cancelled dialog).
    bool writeM3u(const QString& target) const;

    // ---- the last playlist, kept between runs in options().lastPlaylistFile ----
    enum class LastList {
        Missing,  // no file: nothing to restore
        Restored, // read whole and appended
        Refused,  // there but not read (another user's, unreadable, too large): left untouched
    };
    // Appends the entries of the last-playlist file. A file that this user does not own (a
    // shared temporary folder lets anyone plant one) or that cannot be read is logged and left
    // as it is. After Missing or Restored, unpacked zip members of earlier runs that no entry
    // refers to are removed from the temporary folder.
    LastList restoreLastPlaylist();
    // Writes the list to the last-playlist file at exit, unless the list is empty and the file
    // was not read in this run: a list that was never read is never replaced by an empty one.
    // A failed write is logged.
    void saveLastPlaylist();

    // ---- removing and marking ----
    // Removes all entries (signal cleared). With `removeTempFolder`, also deletes every file in
    // the temporary folder and then the folder itself if it is empty (subfolders are left).
    void clearList(bool removeTempFolder);

    // Removes the given rows (any order, duplicates and out-of-range rows ignored) and returns
    // `currentSound` adjusted so that it still names the same song: it drops by one for every
    // removed row below it. A removed playing row keeps the index, which then names the row that
    // followed (or lies past the end). Signals rowsRemoved for each block of adjacent rows, the
    // highest block first, so a mirror applying them in order stays in step.
    int removeRows(std::vector<int> rows, int currentSound);

    // Marks or unmarks a row whose song failed to load. Out-of-range rows are ignored.
    void setUnplayable(int row, bool unplayable = true);

    // Replaces a row's entry (the player fills format name and numbers after loading).
    // Out-of-range rows are ignored.
    void setEntry(int row, PlaylistEntry entry);

    // Whether the temporary files are kept at exit (mirrors "Load last playlist on startup"):
    // the window clears the list at its end with clearList(!keepTempFiles()). Default false.
    bool keepTempFiles() const { return keepTempFiles_; }
    void setKeepTempFiles(bool keep) { keepTempFiles_ = keep; }

signals:
    void entriesAppended(int first, int count); // rows first .. first+count-1 are new
    void rowsRemoved(int first, int count);     // rows first .. first+count-1 are gone
    void cleared();                             // all rows are gone
    void entryChanged(int row);                 // entry or unplayable mark of one row changed

private:
    // False (and nothing added) when the list has no room for one more entry with this path.
    bool appendEntry(std::string title, std::string path);
    bool appendEntry(PlaylistEntry&& entry);
    struct ListAdded {
        ListReadStatus status;
        bool full; // the list became full on the way
    };
    enum class ListFormat { M3u, Pls, Xspf, Cue };
    // Appends what the list file holds, as far as there is room.
    ListAdded appendListFile(const std::string& listPath, ListFormat format);
    bool hasRoomFor(std::size_t pathBytes) const;
    void logFull(const std::string& path);
    void removeUnreferencedTempFiles();

    LogFile& log_;
    Options options_;
    ZipUnpacker unpacker_;
    DirectoryCollector collector_;
    std::vector<PlaylistEntry> entries_;
    std::vector<char> unplayable_; // parallel to entries_
    std::int64_t pathBytes_ = 0;   // summed over entries_' pathBytesOf
    bool lastListRead_ = false;    // the last-playlist file was read (or missing) in this run
    QStringList collected_;        // shared list of collectDirectory
    bool keepTempFiles_ = false;
};
