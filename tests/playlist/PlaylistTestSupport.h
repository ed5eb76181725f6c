#pragma once
// Helpers for the playlist tests: a scratch folder per test, file writing, the log's messages,
// running the real `zip` command, and a model wired to its own log and temporary folder.
//
// Threading: test thread only.

#include "LogFile.h"
#include "PlaylistModel.h"

#include <QObject>
#include <QString>

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace playlisttest {

// A fresh, empty folder under the system temporary folder, removed when the object goes away.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string str() const { return path_.string(); }
    // Writes `bytes` to the folder-relative `name` (parent folders created), returns its path.
    std::string write(const std::string& name, const std::string& bytes) const;

private:
    std::filesystem::path path_;
};

std::string readFile(const std::string& path);
inline QString q(const std::string& text) {
    return QString::fromStdString(text);
}

// One log line: its level class ("red", "black", ...) and its message without the time stamp.
struct LogMessage {
    std::string level;
    std::string text;
    friend bool operator==(const LogMessage&, const LogMessage&) = default;
};
inline void PrintTo(const LogMessage& message, std::ostream* out) {
    *out << message.level << ": " << message.text;
}
std::vector<LogMessage> logMessages(const std::string& logPath);

// Runs `command` with /bin/sh in `folder`; returns the exit status.
int runIn(const std::filesystem::path& folder, const std::string& command);

// Names of the regular files directly in `folder`, sorted; empty when it does not exist.
std::vector<std::string> filesIn(const std::filesystem::path& folder);

// A model with its own log file and temporary folders inside a scratch folder, and a record of
// the signals it emitted ("appended 0 3", "removed 5 1", "cleared", "changed 2").
struct ModelRig {
    explicit ModelRig(ZipUnpacker::Limits unpackLimits = {});

    ScratchFolder folder;
    std::string logPath;
    std::filesystem::path tempFolder;
    LogFile log;
    std::unique_ptr<PlaylistModel> model;
    std::vector<std::string> signalsSeen;

    std::vector<LogMessage> messages() const { return logMessages(logPath); }
};

// Writes an archive with the given (name, data) members in order, deflated, with minizip's
// writer (it takes member names that the `zip` command will not write).
void writeZip(const std::string& path,
              const std::vector<std::pair<std::string, std::string>>& members);

// (title, path) of every entry, in order.
using TitlesAndPaths = std::vector<std::pair<std::string, std::string>>;
TitlesAndPaths titlesAndPaths(const std::vector<PlaylistEntry>& entries);

} // namespace playlisttest
