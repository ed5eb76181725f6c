// Writes the game-music fuzz target's seeds into the folder given as the only argument:
// generated VGM, VGZ, NSF and GYM songs, and minimal files of the other formats.
#include "GameMusicWriter.h"
#include "SeedFolder.h"
#include "VgmWriter.h"

#include <algorithm>
#include <string_view>

namespace {

using namespace std::string_view_literals;

// `text` may hold NUL bytes (pass a "..."sv literal).
std::vector<uint8_t> bytesOf(std::string_view text, size_t size = 0) {
    std::vector<uint8_t> bytes(text.begin(), text.end());
    bytes.resize(std::max(size, bytes.size()), 0);
    return bytes;
}

// Headers of the other formats with a few bytes of code that returns at once: the fuzzer
// mutates them into the loaders' corner cases.
std::vector<uint8_t> minimalSpc() {
    auto spc = bytesOf("SNES-SPC700 Sound File Data v0.30\x1A\x1A\x1A\x1E"sv, 0x10200);
    spc[0x25] = 0x00; // PC = $0200
    spc[0x26] = 0x02;
    spc[0x100 + 0x200] = 0x2F; // BRA -2: spin
    spc[0x100 + 0x201] = 0xFE;
    return spc;
}

std::vector<uint8_t> minimalKss() {
    auto kss = bytesOf("KSCC\x00\x40\x02\x00\x00\x40\x01\x40"sv, 0x10);
    kss.insert(kss.end(), {0xC9, 0xC9});
    return kss;
}

std::vector<uint8_t> minimalNsfe() {
    std::vector<uint8_t> nsfe = bytesOf("NSFE"sv);
    const auto chunk = [&](const char* id, std::vector<uint8_t> body) {
        const auto size = static_cast<uint32_t>(body.size());
        nsfe.insert(nsfe.end(),
                    {static_cast<uint8_t>(size), static_cast<uint8_t>(size >> 8),
                     static_cast<uint8_t>(size >> 16), static_cast<uint8_t>(size >> 24)});
        nsfe.insert(nsfe.end(), id, id + 4);
        nsfe.insert(nsfe.end(), body.begin(), body.end());
    };
    chunk("INFO", {0x00, 0x80, 0x00, 0x80, 0x01, 0x80, 0x00, 0x00, 0x02, 0x00});
    chunk("DATA", {0x60, 0x60});
    chunk("NEND", {});
    return nsfe;
}

} // namespace

int main(int argc, char** argv) {
    chipgen::VgmSong song;
    song.title = "Seed";
    song.notes = {{254, 4410}, {0, 441}, {127, 4410}};
    const auto plain = chipgen::writeVgm(song);
    song.loop = true;
    const auto looped = chipgen::writeVgm(song);
    auto gym = chipgen::headerlessGym(254, 30);
    std::vector<uint8_t> gymx(0x1AC, 0);
    for (size_t i = 0; i < 4; ++i) {
        gymx[i] = static_cast<uint8_t>("GYMX"[i]);
    }
    gymx.insert(gymx.end(), gym.begin(), gym.end());
    return tamberlo::test::writeSeeds(
        argc, argv,
        {
            {"plain.vgm", plain},
            {"looped.vgm", looped},
            {"looped.vgz", chipgen::gzipped(looped)},
            {"two.nsf", chipgen::twoSongNsf()},
            {"header.gym", gymx},
            {"minimal.spc", minimalSpc()},
            {"minimal.kss", minimalKss()},
            {"minimal.nsfe", minimalNsfe()},
            {"minimal.ay", bytesOf("ZXAYEMUL"sv, 0x40)},
            {"minimal.sap",
             bytesOf(
                 "SAP\r\nTYPE B\r\nINIT 2000\r\nPLAYER 2001\r\n\xFF\xFF\x00\x20\x01\x20\x60\x60"sv)},
        });
}
