#pragma once
// Which of libgme's formats a file is, decided strictly by content: libgme's own loaders accept
// loose data, so a file is claimed only when its header says what it is. The one exception is
// a headerless GYM (a bare stream of chip writes), claimed only with a ".gym" name and a start
// that is nothing but well-formed GYM commands.
//
// Threading: pure functions, callable from any thread.

#include <gme/gme.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace game_codec {

struct GameFormat {
    gme_type_t type = nullptr; // libgme's emulator for it
    const char* label = "";    // short format name for the display, e.g. "NSF"
    bool gzipped = false;      // VGZ: the data must be decompressed first
    // libgme may crash or hang on a damaged file of this format: the player decodes it in a
    // separate process (probe result 2).
    bool isolated = false;
};

// The format that `head` (the first bytes of the file, up to 4 KiB) starts, or nothing.
// `fileName` (may be empty) only matters for headerless GYM.
std::optional<GameFormat> identifyGameFormat(std::span<const uint8_t> head,
                                             std::string_view fileName);

// True when the whole file `data` is one libgme can be given safely: what its header promises
// is there (truncated files are refused rather than half played), and for the formats whose
// loaders or players trust their data (VGM, NSFE, AY, GYM) the structure is checked first.
// GBS and HES get only a plausibility check: they are decoded in a separate process.
bool isComplete(const GameFormat& format, std::span<const uint8_t> data);

// True when `head` is a plausible headerless GYM stream: only GYM commands (frame waits and
// chip writes), at least one write; a command cut by the end of `head` is allowed only when
// `head` is a cut-off prefix (`wholeFile` false).
bool looksLikeHeaderlessGym(std::span<const uint8_t> head, bool wholeFile);

} // namespace game_codec
