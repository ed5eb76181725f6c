#include "RipTestSupport.h"

#include "RipFile.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <stdexcept>

TempWorkDir::TempWorkDir() : previous_(std::filesystem::current_path()) {
    std::string pattern = (std::filesystem::temp_directory_path() / "tamberlo-rip-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
    std::filesystem::current_path(path_);
}

TempWorkDir::~TempWorkDir() {
    std::filesystem::current_path(previous_);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Bytes readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

Bytes filler(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    Bytes bytes(size);
    for (auto& b : bytes)
        b = static_cast<std::uint8_t>(random());
    return bytes;
}

RipRun ripCaptured(const std::string& path, int argumentCount) {
    testing::internal::CaptureStdout();
    const int result = ripFile(argumentCount, path.c_str());
    std::fflush(stdout);
    return {result, testing::internal::GetCapturedStdout()};
}

Bytes ripToModule(const Bytes& file, std::string* console) {
    TempWorkDir dir;
    writeFile("input.bin", file);
    const RipRun run = ripCaptured("input.bin");
    EXPECT_GE(run.result, 0);
    if (console)
        *console = run.console;
    for (const char* output : {"-1.mod", "-1.stk"})
        if (std::filesystem::exists(output))
            return readFile(output);
    return {};
}

ProTrackerModule firstMediaModule() {
    const auto modules = mediaModules();
    if (modules.empty())
        throw std::runtime_error("no modules in TAMBERLO_TEST_MEDIA/mod");
    return ProTrackerModule::parse(readFile(modules.front())).value();
}

std::vector<std::filesystem::path> mediaModules() {
    const char* media = std::getenv("TAMBERLO_TEST_MEDIA");
    std::vector<std::filesystem::path> modules;
    if (!media)
        return modules;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(media) / "mod"))
        if (entry.path().extension() == ".mod")
            modules.push_back(entry.path());
    std::sort(modules.begin(), modules.end());
    return modules;
}

Bytes hideInside(const Bytes& packed, unsigned seed) {
    Bytes file = filler(4096 + seed * 17, seed);
    file.insert(file.end(), packed.begin(), packed.end());
    const Bytes tail = filler(3000, seed + 1);
    file.insert(file.end(), tail.begin(), tail.end());
    return file;
}

void expectCutsRefused(const Bytes& packed, std::initializer_list<std::size_t> sizes,
                       std::size_t fillerBytes) {
    for (const std::size_t size : sizes) {
        SCOPED_TRACE("cut to " + std::to_string(size));
        Bytes file = filler(fillerBytes, 7);
        file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(size));
        EXPECT_TRUE(ripToModule(file).empty());
    }
}

Bytes repeated(const Bytes& packed, std::size_t unit, std::size_t bytes) {
    Bytes file;
    while (file.size() < bytes)
        file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(unit));
    return file;
}
