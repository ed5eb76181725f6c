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
// Errors go to the log at level 2 with these texts (archive and member names as given):
//   "'%s' is NOT a zip-file!"                          archive cannot be opened
//   "Zip error (%i) on archive '%s'!"                  global information unreadable
//   "Error %d with zipfile in unzGetCurrentFileInfo\n" member information unreadable
//   "Zip error (%i) on file '%s'!"                     member cannot be opened, read or checked
//                                                      (CRC), or a block not written (the number
//                                                      is then the block's byte count)
//   "Couldn't write unpacked file to disk: (%s)!"      temporary file cannot be created
//   "Zip member '%s' is larger than %lld bytes; not unpacked!"  over the size limit
// The first member that fails ends the archive; entries of earlier members stay.
//
// Threading: GUI thread (the playlist model's thread); one call at a time per object.

#include "PlaylistEntry.h"

#include <QString>

#include <cstdint>
#include <string>
#include <unzip.h>
#include <vector>

class LogFile;
class QTemporaryFile;

class ZipUnpacker {
public:
    // Size of one copy step, bytes.
    static constexpr int CopyBufferBytes = 8192;

    // tempFolder: where unpacked files go; created with its parents on first use.
    // maxMemberBytes: largest unpacked member accepted (> 0), bytes.
    ZipUnpacker(LogFile& log, QString tempFolder, std::int64_t maxMemberBytes);

    // Unpacks every member of the archive at `archivePath` (8-bit) in archive order and appends
    // one entry per unpacked file to `out`: path = the unpacked file's full name with '/'
    // separators, title = its file name. Folder members and empty names add nothing.
    void addArchive(const std::string& archivePath, std::vector<PlaylistEntry>& out);

    // Unpacks the archive's current member into `out`, which is given its template and opened
    // here. Returns 0 on success and for a skipped member (folder member or empty name; `out`
    // then stays unopened), the minizip error code when the member cannot be read, or -1 when
    // the data cannot be written or the member is over the size limit. On failure `out` keeps
    // auto-removal on, so its partial file goes when `out` is destroyed.
    int extractCurrentMember(unzFile archive, QTemporaryFile& out);

private:
    int copyMember(unzFile archive, QTemporaryFile& out, const char* memberName);

    LogFile& log_;
    QString tempFolder_;
    std::int64_t maxMemberBytes_;
};
