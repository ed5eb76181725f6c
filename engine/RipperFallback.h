#pragma once
// The module-ripper fallback for files the sound library refuses: runs the ripper executable as
// a child process in the current directory and collects the module it writes as "-1.mod".
// A crash, hang or failure of the child only means "nothing ripped".
//
// Threading: GUI thread (blocks until the child ends or the timeout passes). Not re-entrant:
// two calls in one directory would share "-1.mod".

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace engine_detail {

// The file the ripper writes into the current directory.
inline constexpr const char* RippedModuleName = "-1.mod";

// Where the ripper executable lies when nobody says otherwise: "tamberlo-rip" beside the running
// program (QCoreApplication::applicationDirPath() when an application object exists, else the
// directory of /proc/self/exe).
std::string defaultRipperPath();

struct RipOutcome {
    bool ripped = false; // a module was found and read into `module`
    std::vector<uint8_t> module;
    std::string problem; // why nothing was ripped when the child misbehaved ("" otherwise)
};

// Deletes a stale "-1.mod", runs `ripper SONGPATH` for at most `timeout` (then kills it), reads
// the fresh "-1.mod" into memory and deletes it from disk. Modules larger than 64 MiB are not
// read (no converted four-channel module comes near that).
RipOutcome ripModule(const std::string& ripper, const std::string& songPath,
                     std::chrono::milliseconds timeout);

} // namespace engine_detail
