#pragma once
// One playlist row. The playlist sets `title` and `path` (and, for a CUE sheet's track, the
// track fields); the player window fills the format name and the three numbers after it has
// loaded the song.
//
// Text encoding: every text field holds 8-bit bytes in the file system's encoding, i.e. what
// QFile::encodeName gives (UTF-8 with Qt 6 on Unix). Paths are kept byte for byte as they came
// from a playlist file or the file system, so a name with non-ASCII characters opens and
// round-trips through an M3U file unchanged. Display text is QFile::decodeName(title).
//
// Threading: a plain value type; no shared state.

#include <cstddef>
#include <cstdint>
#include <string>

struct PlaylistEntry {
    // Length value that means "not known" (streams, songs not loaded yet).
    static constexpr std::uint32_t UnknownLength = 4294967295u;

    std::string unused;     // never set by the playlist; kept for the row layout
    std::string title;      // text shown in the row: the file name part of the path, or a URL
    std::string path;       // local path with '/' separators, or an "http://" URL; the tooltip
    std::string info1;      // free for the player; empty on creation
    std::string info2;      // free for the player; empty on creation
    std::string info3;      // free for the player; empty on creation
    std::string formatName; // format name the player window writes after loading

    std::uint32_t startOffsetMs = 0; // where playback starts, milliseconds
    std::uint32_t subsongCount = 0;  // number of subsongs, 0 until loaded
    std::uint32_t lengthMs = 0;      // song length, milliseconds; UnknownLength if unknown

    // A CUE sheet's track (PlaylistCue.h): `path` is then "SHEET#N", what a saved list keeps,
    // and the song is the range [trackStartMs, trackEndMs) of `trackFile`, played as a song of
    // its own; trackEndMs 0 means to the file's end. trackFile is empty for every other entry.
    std::string trackFile;
    std::uint32_t trackStartMs = 0;
    std::uint32_t trackEndMs = 0;

    friend bool operator==(const PlaylistEntry&, const PlaylistEntry&) = default;
};

// The bytes of paths an entry holds: what the playlist's limits count (PlaylistLimits.h).
inline std::size_t pathBytesOf(const PlaylistEntry& entry) {
    return entry.path.size() + entry.trackFile.size();
}
