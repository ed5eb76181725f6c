// The formats the scan recognises but does not convert: each module is stepped over (a packed
// module hidden in its sample data is not converted), what follows it is still found, and a
// module cut short is not claimed (the hidden packed module then converts).
#include "RipTestSupport.h"

#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace {
// Room behind the hidden packed module inside a module's sample data.
constexpr std::size_t kSpare = 16;

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

using Builder = std::function<Bytes(const Bytes& samples)>;
struct Format {
    std::string name;
    Builder build;
};

// A real SoundTracker module with `samples` written over the end of its sample data.
Builder realSoundTracker(const std::filesystem::path& path) {
    return [path](const Bytes& samples) {
        Bytes file = readFile(path);
        std::copy(samples.begin(), samples.end(), file.end() - std::ptrdiff_t(samples.size()));
        return file;
    };
}

std::vector<Format> formats() {
    std::vector<Format> all = {
        {"SoundTracker", soundTracker},
        {"JamCracker", jamCracker},
        {"DigiBooster 1.7", digiBooster},
        {"Fastracker 2", fastracker2},
        {"Future Composer 1.3", [](const Bytes& s) { return futureComposer(s, false); }},
        {"Future Composer 1.4", [](const Bytes& s) { return futureComposer(s, true); }},
        {"BSI Future Composer",
         [](const Bytes& s) {
             Bytes m = futureComposer(s, false);
             putText(m, 0, "FUCO");
             return m;
         }},
        {"MED", [](const Bytes& s) { return med(s, "MMD0"); }},
        {"OctaMED", [](const Bytes& s) { return med(s, "MMD1"); }},
        {"Digital Mugician", digitalMugician},
        {"Sound Monitor", soundMonitor},
    };
    const std::filesystem::path folder = TAMBERLO_PACKED_MODULES_DIR;
    if (std::filesystem::is_directory(folder))
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().filename().string().starts_with("ST15."))
                all.push_back({entry.path().filename().string(), realSoundTracker(entry.path())});
    return all;
}

ProTrackerModule smallModule(unsigned sampleWords, unsigned period) {
    ProTrackerModule module = ProTrackerModule::blank(1);
    module.setSample(0, sampleWords, 0, 64, 0, 1);
    module.sampleData.assign(sampleWords * 2, 0);
    writeCell(module.patterns[0], 0, 0, {1, period, 0, 0});
    return module;
}
const ProTrackerModule kHidden = smallModule(200, 428);
const ProTrackerModule kBehind = smallModule(300, 214);

// Sample data holding the packed kHidden module.
Bytes samplesWithHiddenModule() {
    Bytes samples = packNoisePackerV2(kHidden);
    samples.resize(samples.size() + kSpare + samples.size() % 2, 0);
    return samples;
}

Bytes between(const Bytes& middle, const Bytes& tail = {}) {
    Bytes file = filler(3001, 7);
    file.insert(file.end(), middle.begin(), middle.end());
    file.insert(file.end(), tail.begin(), tail.end());
    const Bytes end = filler(2000, 8);
    file.insert(file.end(), end.begin(), end.end());
    return file;
}

TEST(RecognisedOnly, ModulesAreSteppedOverAndWhatFollowsIsFound) {
    const Bytes behind = packNoisePackerV2(kBehind);
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.name);
        const Bytes module = format.build(samplesWithHiddenModule());
        EXPECT_TRUE(ripToModule(between(module)).empty());
        EXPECT_EQ(ripToModule(between(module, behind)), expectedFromNoisePackerV2(kBehind));
        // Cut behind the hidden module at the end of the file: the module does not fit.
        const Bytes cut(module.begin(), module.end() - kSpare);
        Bytes file = filler(3001, 7);
        file.insert(file.end(), cut.begin(), cut.end());
        EXPECT_EQ(ripToModule(file), expectedFromNoisePackerV2(kHidden));
    }
}

TEST(RecognisedOnly, AFileOfOnlySuchModulesGivesNoOutput) {
    Bytes file;
    for (const Format& format : formats()) {
        const Bytes module = format.build(samplesWithHiddenModule());
        file.insert(file.end(), module.begin(), module.end());
    }
    EXPECT_TRUE(ripToModule(between(file)).empty());
}

// Each module's first kilobyte repeated: every copy's sizes run into the next copy or past the
// input's end.
TEST(RecognisedOnly, FilesFullOfHeadersNeitherCrashNorHang) {
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.name);
        const Bytes module = format.build(samplesWithHiddenModule());
        const Bytes header(module.begin(), module.begin() + 1024);
        Bytes file;
        while (file.size() < 256 * 1024)
            file.insert(file.end(), header.begin(), header.end());
        ripToModule(file);
    }
}
} // namespace
