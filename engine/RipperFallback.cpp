#include "RipperFallback.h"

#include "ProgramModule.h"
#include "RipperProcess.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>

namespace engine_detail {
namespace {

constexpr long MaxRippedBytes = 64L * 1024 * 1024;

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// A folder of its own for one ripper run (mkdtemp under the system temporary folder), removed
// with everything in it when the object goes.
class ScratchFolder {
public:
    ScratchFolder() {
        std::error_code error;
        const std::filesystem::path base = std::filesystem::temp_directory_path(error);
        std::string pattern =
            (error ? std::filesystem::path("/tmp") : base) / "tamberlo-rip-XXXXXX";
        if (::mkdtemp(pattern.data()) != nullptr) {
            path_ = pattern;
        }
    }
    ~ScratchFolder() {
        if (!path_.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(path_, ignored);
        }
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    bool made() const { return !path_.empty(); }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

std::string absolute(const std::string& path) {
    std::error_code error;
    const std::filesystem::path made = std::filesystem::absolute(path, error);
    return error ? path : made.string();
}

// Reads the whole file, or returns false when it is missing, empty or unreasonably large.
bool readWholeFile(const std::string& path, std::vector<uint8_t>* out) {
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) {
        return false;
    }
    const long size = std::ftell(file.get());
    if (size <= 0 || size > MaxRippedBytes || std::fseek(file.get(), 0, SEEK_SET) != 0) {
        return false;
    }
    out->resize(static_cast<size_t>(size));
    return std::fread(out->data(), 1, out->size(), file.get()) == out->size();
}

} // namespace

std::string defaultRipperPath() {
    return audio::executableFolder() + "/tamberlo-rip";
}

RipOutcome ripModule(const std::string& ripper, const std::string& songPath,
                     std::chrono::milliseconds timeout, const std::atomic<bool>* cancel) {
    RipOutcome outcome;
    const ScratchFolder scratch;
    if (!scratch.made()) {
        outcome.problem = "no scratch folder could be made in the temporary folder";
        return outcome;
    }
    // The child works in the scratch folder, so relative paths would point there.
    const RipperRun run =
        runRipperProcess(absolute(ripper), absolute(songPath), timeout, scratch.path(), cancel);
    switch (run.outcome) {
    case RipperRun::Outcome::Exited:
        break;
    case RipperRun::Outcome::Killed:
        outcome.problem = "the ripper crashed (signal " + std::to_string(run.exitStatus) + ")";
        break;
    case RipperRun::Outcome::TimedOut:
        outcome.problem = "the ripper did not finish in time and was stopped";
        break;
    case RipperRun::Outcome::Cancelled:
        outcome.cancelled = true;
        outcome.problem = "the ripper was stopped because the song is no longer wanted";
        break;
    case RipperRun::Outcome::FailedToStart:
        outcome.problem = "the ripper " + ripper + " could not be started";
        break;
    }
    // Whatever the child did, a module it finished writing is usable; a half-written one from a
    // crash or timeout is not, so only a normal exit counts.
    const std::string module = scratch.path() + "/" + RippedModuleName;
    if (run.outcome == RipperRun::Outcome::Exited) {
        std::error_code error;
        const bool written = std::filesystem::exists(module, error);
        outcome.ripped = written && readWholeFile(module, &outcome.module);
        if (written && !outcome.ripped) {
            outcome.problem = "the ripped module is empty or larger than 64 MiB";
        }
    }
    if (!outcome.ripped) {
        outcome.module.clear();
    }
    return outcome;
}

} // namespace engine_detail
