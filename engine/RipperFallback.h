#pragma once
// The module-ripper fallback for files the sound library refuses: runs the ripper executable as
// a child process in a private scratch folder and collects the module it writes there as
// "-1.mod". A crash, hang or failure of the child only means "nothing ripped". Each call has a
// folder of its own, made under the system temporary folder and removed afterwards, so a
// "-1.mod" of the user's in the current directory is never touched and two players never meet.
//
// Threading: any thread (blocks until the child ends, the timeout passes or the caller's cancel
// flag turns true). Calls from several threads or processes do not disturb each other.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace engine_detail {

// The file the ripper writes into its working directory.
inline constexpr const char* RippedModuleName = "-1.mod";

// Where the ripper executable lies when nobody says otherwise: "tamberlo-rip" in the
// application folder (audio::executableFolder, ProgramModule.h).
std::string defaultRipperPath();

struct RipOutcome {
    bool ripped = false; // a module was found and read into `module`
    std::vector<uint8_t> module;
    std::string problem;    // why nothing was ripped when the child or the hand-over failed
                            // ("" when the scan simply found nothing)
    bool cancelled = false; // the run was ended by the cancel flag
};

// Runs `ripper SONGPATH` (both made absolute) in a fresh scratch folder for at most `timeout`
// (then kills it), reads the "-1.mod" it left there into memory and removes the folder.
// Modules larger than 64 MiB are not read (no converted four-channel module comes near that).
// `cancel` (may be null) ends the run early, with nothing ripped.
RipOutcome ripModule(const std::string& ripper, const std::string& songPath,
                     std::chrono::milliseconds timeout, const std::atomic<bool>* cancel = nullptr);

} // namespace engine_detail
