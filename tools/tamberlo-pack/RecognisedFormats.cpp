#include "RecognisedFormats.h"

#include <cstring>

namespace {
void putText(Bytes& out, std::size_t at, const char* text) {
    std::memcpy(out.data() + at, text, std::strlen(text));
}
void putLe16(Bytes& out, std::size_t at, unsigned value) {
    out[at] = static_cast<std::uint8_t>(value);
    out[at + 1] = static_cast<std::uint8_t>(value >> 8);
}
void putLe32(Bytes& out, std::size_t at, unsigned value) {
    putLe16(out, at, value & 0xFFFF);
    putLe16(out, at + 2, value >> 16);
}
// `header` followed by `samples` (the payload and the spare bytes).
Bytes join(Bytes header, const Bytes& samples) {
    header.insert(header.end(), samples.begin(), samples.end());
    return header;
}

Bytes soundTracker(const Bytes& samples) {
    Bytes m(600 + 1024);
    putText(m, 0, "tiny song");
    put16(m, 20 + 22, static_cast<unsigned>(samples.size() / 2));
    m[20 + 25] = 64;
    for (int i = 0; i < 15; ++i)
        put16(m, 20 + 30 * i + 28, 1);
    m[470] = 1;
    m[471] = 120;
    put16(m, 600, 428); // C-2, sample 1
    m[602] = 0x10;
    return join(m, samples);
}

Bytes jamCracker(const Bytes& samples) {
    Bytes m(6 + 40 + 2 + 6 + 2 + 2 + 64 * 32);
    putText(m, 0, "BeEp");
    put16(m, 4, 1);
    putText(m, 6, "bass");
    put32(m, 6 + 32, static_cast<unsigned>(samples.size()));
    put16(m, 46, 1);  // patterns
    put16(m, 48, 64); // rows
    put16(m, 54, 1);  // song length
    return join(m, samples);
}

Bytes digiBooster(const Bytes& samples) {
    Bytes m(1572 + 64 * 4 * 4);
    putText(m, 0, "DIGI Booster module");
    putText(m, 20, "V1.7");
    m[24] = 0x17;
    m[25] = 4;
    put32(m, 176, static_cast<unsigned>(samples.size()));
    m[548] = 64;
    return join(m, samples);
}

Bytes fastracker2(const Bytes& samples) {
    Bytes m(336 + 9 + 256 + 263 + 40);
    putText(m, 0, "Extended Module: tiny song");
    m[37] = 0x1A;
    putLe16(m, 58, 0x0104);
    putLe32(m, 60, 276);
    putLe16(m, 64, 1);
    putLe16(m, 68, 4);
    putLe16(m, 70, 1);
    putLe16(m, 72, 1);
    putLe32(m, 336, 9);
    putLe16(m, 336 + 5, 64);
    putLe16(m, 336 + 7, 256);
    std::memset(m.data() + 345, 0x80, 256); // empty cells
    const std::size_t instrument = 601;
    putLe32(m, instrument, 263);
    putLe16(m, instrument + 27, 1);
    putLe32(m, instrument + 29, 40);
    putLe32(m, instrument + 263, static_cast<unsigned>(samples.size()));
    m[instrument + 263 + 12] = 64;
    return join(m, samples);
}

// One 13-byte sequence entry, one pattern, one frequency and one volume sequence.
Bytes futureComposer(const Bytes& samples, bool version14) {
    const unsigned header = version14 ? 180 : 100;
    Bytes m(header + 13 + 64 * 3);
    putText(m, 0, version14 ? "FC14" : "SMOD");
    put32(m, 4, 13);
    for (unsigned i = 0; i < 3; ++i) {
        put32(m, 8 + 8 * i, header + 13 + 64 * i);
        put32(m, 12 + 8 * i, 64);
    }
    const auto sampleData = static_cast<unsigned>(m.size());
    put32(m, 32, sampleData);
    put16(m, 40, static_cast<unsigned>(samples.size() / 2));
    if (!version14)
        return join(m, samples);
    put32(m, 36, sampleData + static_cast<unsigned>(samples.size()));
    m[100] = 16; // one wave table of 32 bytes
    return join(join(m, samples), Bytes(32, 0x40));
}

Bytes med(const Bytes& samples, const char* tag) {
    constexpr unsigned kSong = 52;
    constexpr unsigned kBlocks = kSong + 788;
    Bytes m(kBlocks + 4 + 2 + 64 * 4 * 3);
    putText(m, 0, tag);
    put32(m, 4, static_cast<unsigned>(m.size() + samples.size()));
    put32(m, 8, kSong);
    put32(m, 16, kBlocks);
    put16(m, kSong + 504, 1); // blocks
    put16(m, kSong + 506, 1); // song length
    put32(m, kBlocks, kBlocks + 4);
    m[kBlocks + 4] = 4;
    m[kBlocks + 5] = 63;
    return join(m, samples);
}

Bytes digitalMugician(const Bytes& samples) {
    Bytes m(204 + 8 + 256 + 16 + 128 + 32);
    putText(m, 0, " MUGICIAN/SOFTEYES 1990 ");
    put16(m, 26, 1); // tracks
    put32(m, 28, 1); // positions of song 1
    put32(m, 60, 1);
    put32(m, 64, 1);
    put32(m, 68, 1);
    put32(m, 72, static_cast<unsigned>(samples.size()));
    return join(m, samples);
}

Bytes soundMonitor(const Bytes& samples) {
    Bytes m(512 + 16 + 48);
    putText(m, 0, "tiny song");
    putText(m, 26, "V.2");
    put16(m, 30, 1);
    putText(m, 32, "lead");
    put16(m, 32 + 24, static_cast<unsigned>(samples.size() / 2));
    put16(m, 32 + 30, 64);
    for (unsigned channel = 0; channel < 4; ++channel)
        put16(m, 512 + 4 * channel, 1);
    return join(m, samples);
}

Bytes futureComposer13(const Bytes& samples) {
    return futureComposer(samples, false);
}
Bytes futureComposer14(const Bytes& samples) {
    return futureComposer(samples, true);
}
Bytes bsiFutureComposer(const Bytes& samples) {
    Bytes m = futureComposer(samples, false);
    putText(m, 0, "FUCO");
    return m;
}
Bytes med0(const Bytes& samples) {
    return med(samples, "MMD0");
}
Bytes med1(const Bytes& samples) {
    return med(samples, "MMD1");
}

const RecognisedFormat kFormats[] = {
    {"SoundTracker", soundTracker},
    {"JamCracker", jamCracker},
    {"DigiBooster 1.7", digiBooster},
    {"Fastracker 2", fastracker2},
    {"Future Composer 1.3", futureComposer13},
    {"Future Composer 1.4", futureComposer14},
    {"BSI Future Composer", bsiFutureComposer},
    {"MED", med0},
    {"OctaMED", med1},
    {"Digital Mugician", digitalMugician},
    {"Sound Monitor", soundMonitor},
};
} // namespace

std::span<const RecognisedFormat> recognisedFormats() {
    return kFormats;
}
