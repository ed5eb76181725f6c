#pragma once
// Helpers for the ripper tests: a fresh current directory per test (the ripper reads "_types_"
// and writes "-1.mod" there) and whole-file reads and writes.
//
// Threading: tests run one at a time; TempWorkDir changes the process's current directory.

#include "ModulePacker.h"

#include <filesystem>
#include <span>
#include <string>
#include <vector>

// Creates a temporary directory, makes it the current directory and removes it afterwards.
class TempWorkDir {
public:
    TempWorkDir();
    ~TempWorkDir();
    TempWorkDir(const TempWorkDir&) = delete;
    TempWorkDir& operator=(const TempWorkDir&) = delete;
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path previous_;
    std::filesystem::path path_;
};

Bytes readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const Bytes& bytes);

// Deterministic filler that none of the ripper's formats mistakes for a module.
Bytes filler(std::size_t size, unsigned seed);

struct RipRun {
    int result;
    std::string console;
};
// Runs ripFile(2, path) in this process and captures its standard output.
RipRun ripCaptured(const std::string& path, int argumentCount = 2);

// Rips `file` in a fresh directory: "-1.mod" (empty when none was written); the console text
// goes to `console` when given.
Bytes ripToModule(const Bytes& file, std::string* console = nullptr);

// The ProTracker modules of the test media (TAMBERLO_TEST_MEDIA/mod/*.mod), sorted.
std::vector<std::filesystem::path> mediaModules();
// The first 31-sample module of the test media (throws when there is none).
ProTrackerModule firstMediaModule();
// `packed` between deterministic filler bytes, so the scan has to find it.
Bytes hideInside(const Bytes& packed, unsigned seed);

// A test-side packer of one format and the module the ripper must give back for its output.
struct Packer {
    const char* name;
    Bytes (*pack)(const ProTrackerModule&);
    Bytes (*expected)(const ProTrackerModule&);
};
// Packs every 31-sample module of the test media with each packer, hides it inside other bytes,
// rips it and expects exactly the packer's expected module; at least `minimum` conversions.
void expectRoundTrips(std::span<const Packer> packers, int minimum = 20);
// Cuts each packer's module (of the first media module) short at a few points inside it, with
// the cut ending the file: no test may trust its sizes and read past the input, and none of the
// cut modules converts.
void expectCutModulesRefused(std::span<const Packer> packers);
// Everything of each packed module before its sample data, repeated over half a megabyte: each
// copy's test walks into the next and the last runs into the end of the input. Must neither
// crash nor hang; what is converted is not checked.
void expectHeaderFloodsAreSafe(std::span<const Packer> packers);
