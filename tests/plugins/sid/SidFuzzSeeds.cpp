// Writes generated SID tunes into the folder argv[1]: seeds for the SID plug-in's fuzz target.
#include "PsidWriter.h"

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s corpus-folder\n", argv[0]);
        return 2;
    }
    using chipgen::PsidDescription;
    using chipgen::PsidLoop;
    const std::vector<std::pair<std::string, PsidDescription>> seeds = {
        {"one.sid", PsidDescription{}},
        {"three.sid", PsidDescription{.frequencies = {3000, 6000, 9000}, .startSong = 2}},
        {"version1.sid", PsidDescription{.version = 1}},
        {"version4.sid", PsidDescription{.version = 4}},
        {"stereo.sid", PsidDescription{.version = 3, .secondSidAddress = 0xD500}},
        {"real.sid", PsidDescription{.rsid = true}},
        {"busy-play.sid", PsidDescription{.loop = PsidLoop::Play}},
        {"busy-init.sid", PsidDescription{.loop = PsidLoop::InitAtOnce}},
    };
    for (const auto& [name, description] : seeds) {
        const std::vector<uint8_t> bytes = chipgen::writePsid(description);
        std::ofstream out(std::string(argv[1]) + "/" + name, std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        if (!out) {
            std::fprintf(stderr, "cannot write %s\n", name.c_str());
            return 1;
        }
    }
    return 0;
}
