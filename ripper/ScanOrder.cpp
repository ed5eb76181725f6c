#include "ScanOrder.h"

using namespace std::string_view_literals;

namespace {
using F = FormatId;

constexpr ChainEntry kChain[] = {
    {F::ModuleProtector},
    {F::DigitalIllusion},
    {F::Eureka},
    {F::ThePlayer50A},
    {F::ThePlayer60A},
    {F::ThePlayer60APacked,
     "\b\b\b\b\b\b\b\bThe Player 6.0A with PACKED samples found at %ld ... cant rip it!\n"},
    {F::ThePlayer61A},
    {F::ThePlayer61APacked,
     "\b\b\b\b\b\b\b\bThe Player 6.1A with PACKED samples found at %ld ... cant rip it!\n"},
    {F::ProPacker10Exe},
    {F::NoisePackerV2},
    {F::NoisePackerV1},
    {F::NoisePackerV3},
    {F::Promizer01},
    {F::ProPacker21},
    {F::ProPacker30},
    {F::StarTrekkerPacker},
    {F::ZenPacker},
    {F::UnicV1ZeroTagByte},
    {F::UnicV1Tagged},
    {F::UnicV2},
    {F::GameMusicCreator},
    {F::Heatseeker},
    {F::SoundTracker},
    {F::TheDarkDemon},
    {F::Newtron},
    {F::NewtronOld},
    {F::TitanicsPlayer},
};

constexpr TagRow one(std::string_view tag, FormatId format) {
    return {tag, {format}, 1};
}
constexpr TagRow two(std::string_view tag, FormatId first, FormatId second) {
    return {tag, {first, second}, 2};
}

constexpr TagRow thePlayerRow(std::string_view tag, FormatId format) {
    TagRow row = one(tag, format);
    row.rejectEndsPosition = true;
    row.acceptKeepsComparing = true;
    return row;
}

constexpr TagRow kTags[] = {
    one("AmBk", F::AmosBank),
    one("BeEp", F::JamCracker),
    one("CPLX_TP3", F::TrackerPackerV3),
    one("DIGI", F::DigiBooster17),
    one("EMOD", F::QuadraComposer),
    one("Extended Mo", F::Fastracker2),
    one("FC-M", F::FcmPacked),
    one("FLT4", F::MultiChannel4),
    one("FC14", F::FutureComposer14),
    one("FUCO", F::BsiFutureComposer),
    one("Fuck", F::NoiseFromHeaven),
    one("FAST", F::StoneArtsPlayer),
    one("GPMO", F::Gpmo),
    one("GnPl", F::GnuPlayer),
    one("HRT!", F::HornetPacked),
    one("IT10", F::IceTracker),
    one("KRIS", F::KrisTracker),
    {"M.K.", {F::MultiChannel4, F::UnicV1MK, F::Noiserunner}, 3},
    one("M1.0", F::Fuzzac),
    two("MEXX", F::TrackerPackerV2, F::TrackerPackerV1),
    one("M.", F::KefrensSoundMachine),
    one("MTN\0"sv, F::IceTracker),
    one("MMD0", F::Med),
    one("MMD1", F::Med),
    one("MMD2", F::Med),
    one("MMD3", F::Med),
    thePlayerRow("P30A", F::ThePlayer30A),
    thePlayerRow("P22A", F::ThePlayer22A),
    thePlayerRow("P40A", F::ThePlayer40A),
    thePlayerRow("P40B", F::ThePlayer40B),
    one("P41A", F::ThePlayer41A),
    one("PM40", F::Promizer40),
    one("PWR.", F::PolkaPacker),
    one("PSUX", F::PolkaPacker),
    one("SNT!", F::ProRunner2),
    one("SNT.", F::ProRunner1),
    one("SKYT", F::SkytPacked),
    one("SMOD", F::FutureComposer13),
    one("STIM", F::StimSlamtilt),
    two("SONG", F::FuchsTracker, F::SoundFx13),
    one("TRK1", F::ModuleProtectorTagged),
    one("TMK\x01"sv, F::Tmk),
    one("UNIC", F::UnicV1Tag),
    one("UGIC", F::DigitalMugician),
    one("V.2", F::SoundMonitor),
    one("V.3", F::SoundMonitor),
    one("WN\0"sv, F::WantonPacker),
    // The start of the 68000 replay routine these formats carry.
    two("\x60\x38\x60\x00\x00\xA0\x60\x00\x01\x3E\x60\x00\x01\x0C\x48\xE7"sv, F::Promizer18a,
        F::Promizer10c),
    one("\x60\x00\x00\x16\x60\x00\x01\x40\x60\x00\x00\xF0\x3F\x00\x10\x3A"sv, F::Promizer20),
    one("\xAC\x1D"sv, F::Ac1d),
    {"\xC0"sv, {F::PhaPacker}, 1, 0x03},
};
} // namespace

std::span<const ChainEntry> chainOrder() {
    return kChain;
}
std::span<const TagRow> tagRows() {
    return kTags;
}
