// Real music: every packed module found in demos and games (the folder TAMBERLO_PACKED_MODULES
// with its MANIFEST.tsv) of a format the ripper converts must come out as a module that plays:
// "M.K." (or for Titanics Player a 15-sample module), every note period in the finetune-0
// table, every pattern the song plays present,
// sample lengths adding up to the sample data, a length between 5 s and 30 min in our sound
// library, and, where the folder holds the unpacked original, the same sample data.
#include "Audio.h"
#include "RipTestSupport.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>

namespace {
// Manifest format names of the converted formats.
const std::set<std::string> kConvertedFormats = {
    "NP1",   "NP2",      "NP3",  "NRU",  "P40A", "P40B",   "P41A",   "P50A", "P60A", "P61A",
    "PM10c", "PP10",     "PP21", "PP30", "PRU1", "PRU2",   "TP1",    "TP2",  "TP3",  "STIM",
    "FUCHS", "FCM",      "HRT",  "SKYT", "KRIS", "KSM",    "FUZZAC", "HMC?", "GMC",  "TDD",
    "UNIC",  "STARPACK", "XANN", "PHA",  "DI",   "EUREKA", "ZEN",    "MP",   "WN",   "TITANICS"};
// Files whose samples are packed: reported on the console and never converted.
const std::set<std::string> kPackedSampleFiles = {"P61A.stardust"};

const std::filesystem::path kFolder = TAMBERLO_PACKED_MODULES_DIR;

struct ManifestFile {
    std::string name;
    std::string format;
};

std::vector<ManifestFile> topLevelFiles() {
    std::vector<ManifestFile> files;
    std::ifstream manifest(kFolder / "MANIFEST.tsv");
    std::string line;
    std::getline(manifest, line); // column names
    while (std::getline(manifest, line)) {
        std::istringstream fields(line);
        ManifestFile file;
        std::getline(fields, file.name, '\t');
        std::getline(fields, file.format, '\t');
        if (file.name.find('/') == std::string::npos)
            files.push_back(file);
    }
    return files;
}

unsigned be16At(const Bytes& bytes, std::size_t at) {
    return bytes[at] << 8 | bytes[at + 1];
}

// Where a module's song length is and its patterns start: a 31-sample module ("M.K." at 1080)
// or a 15-sample one.
struct Layout {
    int records;
    std::size_t songLength, patterns;
};
Layout layoutOf(const Bytes& mod) {
    return mod.size() >= 1084 && std::memcmp(mod.data() + 1080, "M.K.", 4) == 0
               ? Layout{31, 950, 1084}
               : Layout{15, 470, 600};
}

// What is wrong with `mod` as a playable module with `records` samples; empty when nothing is.
std::string problemsOf(const Bytes& mod, int records) {
    const Layout layout = layoutOf(mod);
    if (mod.size() < layout.patterns || layout.records != records)
        return "no " + std::to_string(records) + "-sample module";
    const unsigned songLength = mod[layout.songLength];
    if (songLength == 0 || songLength > 128)
        return "song length " + std::to_string(songLength);
    const auto order = mod.begin() + std::ptrdiff_t(layout.songLength + 2);
    const unsigned patterns = *std::max_element(order, order + songLength) + 1u;
    std::size_t sampleBytes = 0;
    for (int i = 0; i < records; ++i)
        sampleBytes += 2 * be16At(mod, 20 + 30 * i + 22);
    const std::size_t patternEnd = layout.patterns + 1024 * std::size_t(patterns);
    if (mod.size() != patternEnd + sampleBytes)
        return "size " + std::to_string(mod.size()) + " is not header, " +
               std::to_string(patterns) + " patterns and " + std::to_string(sampleBytes) +
               " bytes of samples";
    std::set<unsigned> periods;
    for (unsigned note = 0; note < kPeriodCount; ++note)
        periods.insert(periodOfNote(note));
    for (std::size_t at = layout.patterns; at < patternEnd; at += 4) {
        const unsigned period = (mod[at] & 0x0F) << 8 | mod[at + 1];
        if (!periods.count(period))
            return "period " + std::to_string(period) + " at byte " + std::to_string(at);
    }
    return {};
}

// Length in milliseconds as our sound library plays it; 0 when it cannot open the module.
unsigned playedLength(const Bytes& mod) {
    audio::System* system = nullptr;
    audio::System::create(&system);
    audio::OutputSpec output;
    output.kind = audio::OutputKind::Offline;
    unsigned length = 0;
    audio::Sound* sound = nullptr;
    audio::CreateSoundInfo info;
    info.length = mod.size();
    if (system->init(4, output) == audio::Result::Ok &&
        system->createSound(reinterpret_cast<const char*>(mod.data()),
                            audio::Mode::OpenOnly | audio::Mode::OpenMemory, &info,
                            &sound) == audio::Result::Ok) {
        sound->getLength(&length, audio::TimeUnit::Ms);
        sound->release();
    }
    system->release();
    return length;
}

// The samples of `mod`, each as long as its record says.
std::vector<Bytes> samplesOf(const Bytes& mod) {
    const Layout layout = layoutOf(mod);
    unsigned highest = 0;
    for (unsigned i = 0; i < mod[layout.songLength]; ++i)
        highest = std::max<unsigned>(highest, mod[layout.songLength + 2 + i]);
    std::size_t at = layout.patterns + 1024 * std::size_t(highest + 1);
    std::vector<Bytes> samples;
    for (int i = 0; i < layout.records; ++i) {
        const std::size_t bytes = 2 * be16At(mod, 20 + 30 * i + 22);
        samples.emplace_back(mod.begin() + std::ptrdiff_t(at),
                             mod.begin() + std::ptrdiff_t(at + bytes));
        at += bytes;
    }
    return samples;
}

TEST(RealPackedModules, EveryConvertedFormatGivesAPlayableModule) {
    if (!std::filesystem::exists(kFolder / "MANIFEST.tsv"))
        GTEST_SKIP() << "no packed modules at " << kFolder;
    std::map<std::string, std::pair<int, int>> convertedPerFormat;
    for (const ManifestFile& file : topLevelFiles()) {
        if (!kConvertedFormats.count(file.format))
            continue;
        SCOPED_TRACE(file.name);
        auto& [converted, files] = convertedPerFormat[file.format];
        ++files;
        TempWorkDir dir;
        const RipRun run = ripCaptured((kFolder / file.name).string());
        EXPECT_GE(run.result, 0);
        if (kPackedSampleFiles.count(file.name)) {
            EXPECT_NE(run.console.find("with PACKED samples found at"), std::string::npos);
            EXPECT_FALSE(std::filesystem::exists("-1.mod"));
            ++converted;
            continue;
        }
        const char* output = file.format == "TITANICS" ? "-1.stk" : "-1.mod";
        if (!std::filesystem::exists(output)) {
            ADD_FAILURE() << "nothing converted: " << run.console;
            continue;
        }
        const Bytes mod = readFile(output);
        const std::string problems = problemsOf(mod, file.format == "TITANICS" ? 15 : 31);
        EXPECT_EQ(problems, "");
        if (!problems.empty())
            continue;
        const unsigned length = playedLength(mod);
        EXPECT_GE(length, 5000u);
        EXPECT_LE(length, 30u * 60 * 1000);
        const auto original =
            kFolder / "originals" / ("MOD" + file.name.substr(file.name.find('.')));
        if (std::filesystem::exists(original)) {
            // Packers renumber samples and cut silent tails, so each sample is looked for on its
            // own.
            const Bytes reference = readFile(original);
            for (const Bytes& sample : samplesOf(mod))
                EXPECT_NE(
                    std::search(reference.begin(), reference.end(), sample.begin(), sample.end()),
                    reference.end())
                    << "a sample of " << sample.size() << " bytes is not in " << original;
        }
        ++converted;
    }
    for (const auto& [format, counts] : convertedPerFormat)
        std::printf("%-5s %d of %d converted\n", format.c_str(), counts.first, counts.second);
}
} // namespace
