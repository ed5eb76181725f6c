#pragma once
// The zip branch of adding paths: every file member of an archive is unpacked into its own
// uniquely named file in the playlist's temporary folder and becomes one entry.
//
// Unpacked files are named MEMBER_XXXXXX.tmp, where MEMBER is the member's file name without its
// folder part and XXXXXX six characters that make the name unique. Only that last name part is
// used, so no member name (absolute, "..", '\' separators) can place a file outside the folder.
// Unpacked files stay on disk until the playlist's clearList removes them; a member that fails
// part-way leaves no file behind.
//
// What unpacking may write is bounded (Limits): per member, per archive, per run (bytes
// unpacked since the temporary folder was last emptied), and by the free space that must stay on
// the temporary folder's disk. Sizes the archive declares and bytes actually produced both
// count; the disk is looked at before each member and at least every DiskCheckBytes.
//
// Errors go to the log at level 2 with these texts (archive and member names as given):
//   "'%s' is NOT a zip-file!"                          archive cannot be opened
//   "Zip error (%i) on archive '%s'!"                  global information unreadable
//   "Error %d with zipfile in unzGetCurrentFileInfo\n" member information unreadable
//   "Zip error (%i) on file '%s'!"                     member cannot be opened, read or checked
//                                                      (CRC), or a block not written (the number
//                                                      is then the block's byte count)
//   "Couldn't write unpacked file to disk: (%s)!"      temporary file cannot be created
//   "Zip member '%s' is larger than %lld bytes; not unpacked!"
//   "Zip archive '%s' unpacks to more than %lld bytes; '%s' and later members not unpacked!"
//   "Unpacked zip members reached %lld bytes; '%s' and later members not unpacked!"
//   "Less than %lld bytes would be left free in '%s'; '%s' and later members not unpacked!"
// The first member that fails ends the archive; entries of earlier members stay.
//
// Threading: GUI thread (the playlist model's thread); one call at a time per object.

#include "PlaylistEntry.h"
#include "PlaylistLimits.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <string>
#include <unzip.h>

class LogFile;
class QTemporaryFile;

class ZipUnpacker {
public:
    // Size of one copy step, bytes.
    static constexpr int CopyBufferBytes = 8192;
    // Most bytes written between two looks at the free disk space.
    static constexpr std::int64_t DiskCheckBytes = 16ll * 1024 * 1024;

    struct Limits {
        std::int64_t memberBytes = MaxUnpackedMemberBytes;
        std::int64_t archiveBytes = MaxUnpackedArchiveBytes;
        std::int64_t runBytes = MaxUnpackedRunBytes;
        std::int64_t minFreeDiskBytes = MinFreeDiskBytes;
    };

    // Takes one new entry; false when the playlist has no room for it.
    using Append = std::function<bool(PlaylistEntry&&)>;

    // tempFolder: where unpacked files go; created with its parents on first use.
    ZipUnpacker(LogFile& log, QString tempFolder, Limits limits);

    // Unpacks every member of the archive at `archivePath` (8-bit) in archive order and hands one
    // entry per unpacked file to `append`: path = the unpacked file's full name with '/'
    // separators, title = its file name. Folder members and empty names add nothing. When
    // `append` refuses an entry, that member's file is removed and the archive ends.
    void addArchive(const std::string& archivePath, const Append& append);

    // Unpacks the archive's current member into `out`, which is given its template and opened
    // here. Returns 0 on success and for a skipped member (folder member or empty name; `out`
    // then stays unopened), the minizip error code when the member cannot be read, or -1 when
    // the data cannot be written or a limit is reached. On failure `out` keeps auto-removal on,
    // so its partial file goes when `out` is destroyed.
    int extractCurrentMember(unzFile archive, QTemporaryFile& out);

    // The temporary folder was emptied: the run's count starts again from 0.
    void forgetUnpacked() { runBytes_ = 0; }

private:
    enum class Over { Nothing, Member, Archive, Run, Disk };
    int copyMember(unzFile archive, QTemporaryFile& out, const char* memberName);
    // Which limit the current member passes with `memberBytes` in all, `newBytes` of them not
    // yet written.
    Over passedLimit(std::int64_t memberBytes, std::int64_t newBytes);
    void logPassedLimit(Over over, const char* memberName);

    LogFile& log_;
    QString tempFolder_;
    Limits limits_;
    std::string archivePath_;        // the archive being unpacked
    std::int64_t archiveBytes_ = 0;  // unpacked from it so far
    std::int64_t runBytes_ = 0;      // unpacked since the folder was last emptied
    std::int64_t diskAllowance_ = 0; // may be written before the next look at the disk
};
