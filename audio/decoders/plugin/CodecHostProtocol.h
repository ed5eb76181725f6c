#pragma once
// What tamberlo-codec-host writes to its standard output for IsolatedPluginDecoder: one Header,
// then the decoded frames as raw interleaved float (Header::channels per frame) until the end of
// the data. Both ends are built from this tree and run on the same machine, so the header is
// written as the struct's bytes in the machine's own byte order.
//
// Command line: tamberlo-codec-host PLUGIN FILE SUBSONG START_FRAME
//   PLUGIN: path of the codec plug-in library; FILE: the file to decode; SUBSONG: 0-based;
//   START_FRAME: the first frame to write, in frames of the subsong.
// The header is written once the plug-in has opened FILE, selected SUBSONG and reached
// START_FRAME, so its arrival means the position is reached.
//
// Threading: constants and a plain struct, usable from any thread.

#include <cstdint>
#include <type_traits>

namespace audio::codec_host {

inline constexpr char Magic[8] = {'T', 'M', 'B', 'C', 'H', 'S', 'T', '1'};
inline constexpr int FormatNameSize = 64;

struct Header {
    char magic[8];                   // Magic
    int32_t sampleRate;              // Hz, as the plug-in reports it (the reader checks the range)
    int32_t channels;                // 1 or 2
    uint64_t lengthFrames;           // frames of the selected subsong, or ~0 when unknown
    int32_t subsongCount;            // 1 or more
    int32_t reserved;                // 0
    char formatName[FormatNameSize]; // NUL-terminated display name, "" when none
};
static_assert(sizeof(Header) == 96 && std::is_standard_layout_v<Header>);

// The host's exit status: 0 after the last frame, one of these otherwise. A host that the
// system ends (a crash, the CPU-time limit) has no exit status at all.
enum ExitCode : int {
    ExitUsage = 64,          // wrong arguments
    ExitPluginUnusable = 65, // the plug-in did not load
    ExitOpenFailed = 66,     // the plug-in refused the file
    ExitSubsongFailed = 67,  // no such subsong
    ExitSeekFailed = 68,     // the start frame could not be reached
    ExitBadInfo = 69,        // the plug-in's info is missing or out of range
    ExitWriteFailed = 70,    // the reader went away (the normal way to stop a host early)
};

} // namespace audio::codec_host
