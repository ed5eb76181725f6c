#include "RipTestSupport.h"

#include "RipFile.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

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
