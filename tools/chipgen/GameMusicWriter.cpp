#include "GameMusicWriter.h"

#include <zlib.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace chipgen {

namespace {

void putText(std::vector<uint8_t>& out, size_t offset, const std::string& text) {
    for (size_t i = 0; i < text.size(); ++i) {
        out[offset + i] = static_cast<uint8_t>(text[i]);
    }
}

void put16(std::vector<uint8_t>& out, size_t offset, uint16_t value) {
    out[offset] = static_cast<uint8_t>(value);
    out[offset + 1] = static_cast<uint8_t>(value >> 8);
}

} // namespace

double nesPulseHz(uint16_t period) {
    return 1789773.0 / (16.0 * (period + 1));
}

double gbSquareHz(uint16_t period) {
    return 131072.0 / (2048 - period);
}

std::vector<uint8_t> gbsTone(uint16_t period) {
    constexpr uint16_t Load = 0x0400;
    std::vector<uint8_t> gbs(0x70, 0);
    putText(gbs, 0, "GBS\x01");
    gbs[4] = 1; // songs
    gbs[5] = 1; // first song, 1-based
    put16(gbs, 0x06, Load);
    put16(gbs, 0x08, Load);   // init
    put16(gbs, 0x0C, 0xFFFE); // stack in high RAM
    putText(gbs, 0x10, "Square tone");
    // LD A,n; LDH (reg),A for each sound register, in the order the hardware needs: power on,
    // master volume, both sides, no sweep, duty 50 %, volume 15 without envelope, period, start.
    const std::pair<uint8_t, uint8_t> writes[] = {
        {0x26, 0x80},
        {0x24, 0x77},
        {0x25, 0xFF},
        {0x10, 0x00},
        {0x11, 0x80},
        {0x12, 0xF0},
        {0x13, static_cast<uint8_t>(period)},
        {0x14, static_cast<uint8_t>(0x80 | ((period >> 8) & 7))},
    };
    for (const auto& [reg, value] : writes) {
        gbs.insert(gbs.end(), {0x3E, value, 0xE0, reg});
    }
    gbs.push_back(0xC9); // RET (end of init)
    put16(gbs, 0x0A, static_cast<uint16_t>(Load + gbs.size() - 0x70));
    gbs.push_back(0xC9); // RET (play)
    return gbs;
}

std::vector<uint8_t> twoSongNsf() {
    constexpr uint16_t Load = 0x8000;
    constexpr uint16_t Play = Load + 29;
    constexpr uint16_t LowTable = Load + 30;
    constexpr uint16_t HighTable = Load + 32;
    std::vector<uint8_t> nsf(0x80, 0);
    putText(nsf, 0, "NESM\x1A");
    nsf[5] = 1; // version
    nsf[6] = 2; // songs
    nsf[7] = 1; // first song, 1-based
    put16(nsf, 0x08, Load);
    put16(nsf, 0x0A, Load); // init
    put16(nsf, 0x0C, Play);
    putText(nsf, 0x0E, "Two pulses");
    put16(nsf, 0x6E, 16639); // NTSC play period, microseconds
    put16(nsf, 0x78, 19997); // PAL play period
    const uint8_t code[] = {
        0xAA, // TAX: the song index from A
        0xA9,
        0x01, // LDA #$01
        0x8D,
        0x15,
        0x40, // STA $4015: first pulse channel on
        0xA9,
        0xBF, // LDA #$BF: duty 50 %, no length counter, constant volume 15
        0x8D,
        0x00,
        0x40, // STA $4000
        0xA9,
        0x08, // LDA #$08: no sweep
        0x8D,
        0x01,
        0x40, // STA $4001
        0xBD,
        static_cast<uint8_t>(LowTable),
        static_cast<uint8_t>(LowTable >> 8), // LDA lo,X
        0x8D,
        0x02,
        0x40, // STA $4002
        0xBD,
        static_cast<uint8_t>(HighTable),
        static_cast<uint8_t>(HighTable >> 8), // LDA hi,X
        0x8D,
        0x03,
        0x40, // STA $4003
        0x60, // RTS (end of init)
        0x60, // RTS (play)
        static_cast<uint8_t>(NsfPulsePeriods[0]),
        static_cast<uint8_t>(NsfPulsePeriods[1]),
        static_cast<uint8_t>(NsfPulsePeriods[0] >> 8),
        static_cast<uint8_t>(NsfPulsePeriods[1] >> 8),
    };
    nsf.insert(nsf.end(), std::begin(code), std::end(code));
    return nsf;
}

std::vector<uint8_t> headerlessGym(uint16_t period, int frames) {
    std::vector<uint8_t> gym = {
        3, 0xBF,
        3, 0xDF,
        3, 0xFF, // channels 1..3 silent
        3, static_cast<uint8_t>(0x80 | (period & 0x0F)),
        3, static_cast<uint8_t>(period >> 4),
        3, 0x92, // channel 0 loud
    };
    gym.insert(gym.end(), static_cast<size_t>(frames), 0); // one wait per frame
    return gym;
}

std::vector<uint8_t> gzipped(const std::vector<uint8_t>& bytes) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 16 + MAX_WBITS, 8,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("deflateInit2");
    }
    std::vector<uint8_t> out(deflateBound(&stream, static_cast<uLong>(bytes.size())) + 32);
    stream.next_in = const_cast<Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    const int result = deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    if (result != Z_STREAM_END) {
        throw std::runtime_error("deflate");
    }
    return out;
}

} // namespace chipgen
