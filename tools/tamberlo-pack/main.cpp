// tamberlo-pack FORMAT IN.mod OUT: packs a 31-sample "M.K." module into FORMAT; without
// arguments lists the formats. Exit status 0 on success, 1 on a bad module or file, 2 on usage.
#include "PackFormats.h"

#include <cstdio>
#include <fstream>
#include <iterator>

namespace {
int usage(const char* program) {
    std::fprintf(stderr, "usage: %s FORMAT IN.mod OUT\nformats:", program);
    for (const PackFormat& format : packFormats())
        std::fprintf(stderr, " %s", format.name);
    std::fprintf(stderr, "\n");
    return 2;
}
} // namespace

int main(int argc, char** argv) {
    if (argc != 4)
        return usage(argv[0]);
    const PackFormat* chosen = findPackFormat(argv[1]);
    if (!chosen)
        return usage(argv[0]);
    std::ifstream in(argv[2], std::ios::binary);
    const Bytes file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const auto module = ProTrackerModule::parse(file);
    if (!module) {
        std::fprintf(stderr, "%s: not a 31-sample M.K. module\n", argv[2]);
        return 1;
    }
    const Bytes packed = chosen->pack(*module);
    std::ofstream out(argv[3], std::ios::binary);
    out.write(reinterpret_cast<const char*>(packed.data()), std::streamsize(packed.size()));
    if (!out) {
        std::fprintf(stderr, "%s: cannot write\n", argv[3]);
        return 1;
    }
    return 0;
}
