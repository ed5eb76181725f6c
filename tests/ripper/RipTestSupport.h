#pragma once
// Helpers for the ripper tests: a fresh current directory per test (the ripper reads "_types_"
// and writes "-1.mod" there) and whole-file reads and writes.
//
// Threading: tests run one at a time; TempWorkDir changes the process's current directory.

#include "ModulePacker.h"

#include <filesystem>
#include <initializer_list>
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

// Rips `file` in a fresh directory: the module written, "-1.mod" or for 15-sample formats
// "-1.stk" (empty when none was written); the console text goes to `console` when given.
Bytes ripToModule(const Bytes& file, std::string* console = nullptr);

// The ProTracker modules of the test media (TAMBERLO_TEST_MEDIA/mod/*.mod), sorted.
std::vector<std::filesystem::path> mediaModules();
// The first 31-sample module of the test media (throws when there is none).
ProTrackerModule firstMediaModule();
// `packed` between deterministic filler bytes, so the scan has to find it.
Bytes hideInside(const Bytes& packed, unsigned seed);
// `packed` cut to each of `sizes` bytes behind `fillerBytes` of filler: none converts.
void expectCutsRefused(const Bytes& packed, std::initializer_list<std::size_t> sizes,
                       std::size_t fillerBytes = 1000);
// The first `unit` bytes of `packed`, repeated to at least `bytes` bytes.
Bytes repeated(const Bytes& packed, std::size_t unit, std::size_t bytes);
