#pragma once
// libgme handles and the start of one track: how long it plays and how libgme is set up for it.
//
// Threading: a Music_Emu is used by one thread at a time; these functions keep no state.

#include <gme/gme.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace game_codec {

inline constexpr int SampleRate = 44100; // Hz of the output, stereo
// No track plays longer than this (and no seek goes further), whatever its file says: the
// emulators' work per second of music is bounded, so this bounds playing through and seeking.
inline constexpr uint64_t MaxTrackFrames = uint64_t{30} * 60 * SampleRate;
inline constexpr uint64_t UnknownLength = ~uint64_t{0};

struct EmuDeleter {
    void operator()(Music_Emu* emu) const { gme_delete(emu); }
};
using EmuPtr = std::unique_ptr<Music_Emu, EmuDeleter>;

struct InfoDeleter {
    void operator()(gme_info_t* info) const { gme_free_info(info); }
};
using InfoPtr = std::unique_ptr<gme_info_t, InfoDeleter>;

struct TrackPlan {
    // Frames the track plays (1..MaxTrackFrames), or UnknownLength when the file gives no
    // length: the track then ends when libgme hears it end (long silence) or at MaxTrackFrames.
    uint64_t lengthFrames = UnknownLength;
    // Frames at the end of lengthFrames over which the sound fades out (looping songs cut
    // after their second loop), 0 for none.
    uint64_t fadeFrames = 0;
};

// The length of a track from libgme's facts (milliseconds, -1 when unknown): the file's own
// length; else the intro plus two loops, faded; else unknown (libgme's made-up default of
// 150 s is not used, the player's time limit applies instead).
TrackPlan planTrack(const gme_info_t& info);

// Sets libgme up for track `index` (0-based) and starts it. Tracks of known length play
// through silence (libgme would otherwise end them at a long pause); tracks of unknown length
// keep libgme's end-of-track detection. Nothing when the index is out of range or libgme fails.
std::optional<TrackPlan> startTrack(Music_Emu& emu, int index);

// The system the file was made for (e.g. "Nintendo NES"), printable ASCII, at most 40
// characters: the file's own tag for track 0 when it has one, else libgme's name for the type.
std::string systemName(Music_Emu& emu);

} // namespace game_codec
