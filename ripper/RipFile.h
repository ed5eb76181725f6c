#pragma once
// The module ripper's entry: finds packed Amiga music modules in a file and converts each one
// into a plain 4-channel ProTracker module written as "-1.mod" in the current directory (the
// last one found wins). Progress goes to standard output as printf-style console messages.
//
// Threading: none. Uses the process-wide RipState: one call at a time. The player runs it in a
// child process (RipperProcess.h) whose current directory is a scratch folder of its own, never
// in its own process.

#include <cstdint>

// Only this many leading bytes of a file are scanned. Packed modules are small, and a huge file
// that nothing else opens must not cost the ripper its size in memory and time.
inline constexpr std::int32_t MaxScanBytes = 64 * 1024 * 1024;

// `argumentCount` must be 2 (the loader's calling convention); `path` is the file to scan.
// Returns -1 for a wrong argument count, an input that cannot be opened or is no regular file
// (a named pipe would block the read), an input below 64 bytes or no memory for it; larger
// inputs are scanned over their first MaxScanBytes only. Otherwise the character count of the
// closing console line, which carries no meaning. "_types_" in the current directory is loaded at
// every call. Ends the process with status -1 if "-1.mod" cannot be created.
std::int32_t ripFile(int argumentCount, const char* path);

// Size in bytes from the file's directory entry; 0 when it cannot be read, INT32_MAX for files
// that are larger.
std::int32_t fileSize(const char* path);
