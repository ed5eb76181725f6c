#include "RipperFallback.h"

#include "RipperProcess.h"

#include <QCoreApplication>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace engine_detail {
namespace {

constexpr long MaxRippedBytes = 64L * 1024 * 1024;

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// Reads the whole file, or returns false when it is missing, empty or unreasonably large.
bool readWholeFile(const char* path, std::vector<uint8_t>* out) {
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "rb"));
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
    std::string dir;
    if (QCoreApplication::instance() != nullptr) {
        dir = QCoreApplication::applicationDirPath().toStdString();
    } else {
        std::error_code error;
        const auto exe = std::filesystem::read_symlink("/proc/self/exe", error);
        dir = error ? std::string(".") : exe.parent_path().string();
    }
    return dir + "/tamberlo-rip";
}

RipOutcome ripModule(const std::string& ripper, const std::string& songPath,
                     std::chrono::milliseconds timeout) {
    RipOutcome outcome;
    std::error_code ignored;
    std::filesystem::remove(RippedModuleName, ignored);
    const RipperRun run = runRipperProcess(ripper, songPath, timeout);
    switch (run.outcome) {
    case RipperRun::Outcome::Exited:
        break;
    case RipperRun::Outcome::Killed:
        outcome.problem = "the ripper crashed (signal " + std::to_string(run.exitStatus) + ")";
        break;
    case RipperRun::Outcome::TimedOut:
        outcome.problem = "the ripper did not finish in time and was stopped";
        break;
    case RipperRun::Outcome::FailedToStart:
        outcome.problem = "the ripper " + ripper + " could not be started";
        break;
    }
    // Whatever the child did, a module it finished writing is usable; a half-written one from a
    // crash or timeout is not, so only a normal exit counts.
    if (run.outcome == RipperRun::Outcome::Exited) {
        outcome.ripped = readWholeFile(RippedModuleName, &outcome.module);
    }
    std::filesystem::remove(RippedModuleName, ignored);
    if (!outcome.ripped) {
        outcome.module.clear();
    }
    return outcome;
}

} // namespace engine_detail
