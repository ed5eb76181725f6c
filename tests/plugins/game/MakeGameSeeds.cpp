// Writes the game-music fuzz target's seeds (generated VGM, VGZ, NSF and GYM files) into the
// folder given as the only argument.
#include "GameTestFiles.h"
#include "VgmWriter.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", argv[0]);
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    chipgen::VgmSong song;
    song.title = "Seed";
    song.notes = {{254, 4410}, {0, 441}, {127, 4410}};
    const auto plain = chipgen::writeVgm(song);
    song.loop = true;
    const auto looped = chipgen::writeVgm(song);
    auto gym = game_test::headerlessGym(254, 30);
    std::vector<uint8_t> gymx(0x1AC, 0);
    for (size_t i = 0; i < 4; ++i) {
        gymx[i] = static_cast<uint8_t>("GYMX"[i]);
    }
    gymx.insert(gymx.end(), gym.begin(), gym.end());
    const struct {
        const char* name;
        std::vector<uint8_t> bytes;
    } seeds[] = {
        {"plain.vgm", plain},
        {"looped.vgm", looped},
        {"looped.vgz", game_test::gzipped(looped)},
        {"two.nsf", game_test::twoSongNsf()},
        {"header.gym", gymx},
    };
    for (const auto& seed : seeds) {
        std::ofstream file(folder / seed.name, std::ios::binary);
        file.write(reinterpret_cast<const char*>(seed.bytes.data()),
                   static_cast<std::streamsize>(seed.bytes.size()));
        if (!file) {
            std::fprintf(stderr, "cannot write %s\n", seed.name);
            return 1;
        }
    }
    return 0;
}
