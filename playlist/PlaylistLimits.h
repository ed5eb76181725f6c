#pragma once
// The sizes the playlist holds to, so that no list file, path or archive can exhaust memory,
// freeze the window or fill the disk. Every limit that is hit is logged at level 2.
//
// The reader's limits cover everything the writer can produce: the model never holds more than
// MaxPlaylistEntries entries and MaxPlaylistPathBytes bytes of paths, and an M3U file of such a
// list always fits MaxPlaylistFileBytes. So a list the player saved is always read back whole.

#include <cstddef>
#include <cstdint>

// Longest path kept, bytes. Linux refuses longer paths (PATH_MAX is 4096 with the terminator),
// so a longer playlist line or argument can never name a file.
inline constexpr std::size_t MaxPathBytes = 4095;

// Most entries the playlist holds.
inline constexpr std::size_t MaxPlaylistEntries = 1'000'000;

// Most bytes of paths the playlist holds, summed over all entries.
inline constexpr std::int64_t MaxPlaylistPathBytes = 256ll * 1024 * 1024;

// Largest playlist file read; larger files are refused whole without being read. Room for every
// list the player writes ("#EXTM3U\n", then each path and "\n") and for the comment lines of
// lists made by other programs.
inline constexpr std::int64_t MaxPlaylistFileBytes = 512ll * 1024 * 1024;
static_assert(MaxPlaylistFileBytes >=
                  8 + static_cast<std::int64_t>(MaxPlaylistEntries) + MaxPlaylistPathBytes,
              "a list the player writes must always be readable");

// Longest title shown in a table row, characters; longer titles are cut and end in "...". File
// names are at most 255 bytes on common file systems, so only URLs and damaged lines are cut.
inline constexpr int MaxShownTitleChars = 255;

// Unpacking zip archives: the largest member, the most bytes one archive may unpack to, the most
// bytes all archives of one run may unpack to, and the free space always left on the temporary
// folder's disk.
inline constexpr std::int64_t MaxUnpackedMemberBytes = 2ll * 1024 * 1024 * 1024;
inline constexpr std::int64_t MaxUnpackedArchiveBytes = 4ll * 1024 * 1024 * 1024;
inline constexpr std::int64_t MaxUnpackedRunBytes = 8ll * 1024 * 1024 * 1024;
inline constexpr std::int64_t MinFreeDiskBytes = 256ll * 1024 * 1024;
