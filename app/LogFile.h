#pragma once
// The program's HTML log: one coloured, time-stamped line per event, appended to a file that
// a web browser can open. The file is opened and closed for every line so that each line is on
// disk when logLine returns, even if the program crashes right after.
//
// Threading: any thread may call logLine; calls are serialised by an internal mutex. Never call
// it from the real-time audio callback (it does file I/O).

#include <mutex>
#include <string>

class LogFile {
public:
    // Colour levels: the first argument of logLine.
    static constexpr int Black = 0; // progress and information
    static constexpr int Blue = 1;  // defined, unused by the program's own messages
    static constexpr int Red = 2;   // errors
    // Longest message kept; longer ones are cut to this many characters.
    static constexpr int MaxMessageLength = 999;

    // Appends the style block and a "Creating PATH at HH:MM:SS" header to `path` (created if
    // missing, never truncated). If the file cannot be opened, logging is off for the object's
    // whole life and every logLine is a silent no-op.
    explicit LogFile(std::string path);

    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // Formats printf-style and appends one line `<span class="C">HH:MM:SS message</span><br>\n`.
    // Level 0 is "black", 1 "blue", 2 "red", anything else an empty class. The message is written
    // unescaped. A line whose file cannot be opened is dropped; the next call tries again.
    void logLine(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));

    bool enabled() const { return enabled_; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    bool enabled_ = true;
    std::mutex mutex_;
};

// The one log of the process. The main window creates it before anything can log and it lives
// until the process ends; writers use it without checking.
extern LogFile* theLogFile;
