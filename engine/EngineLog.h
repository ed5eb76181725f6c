#pragma once
// Writes one line to the program's HTML log (theLogFile) when one exists. Command-line tools
// and tests may run the engine without a log; then the line is dropped.
//
// Threading: the same as LogFile::logLine (any thread; the engine calls it on the GUI thread).

namespace engine_detail {

// Log levels as the engine uses them: 0 information (black), 2 errors (red).
void engineLog(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

} // namespace engine_detail
