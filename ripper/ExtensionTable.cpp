#include "ExtensionTable.h"

#include "CFile.h"

#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace {
constexpr const char* kTypesFile = "_types_";

constexpr const char* kDefaults[ExtensionTable::SlotCount] = {"ac1d",
                                                              "bp",
                                                              "fc-m",
                                                              "hrt",
                                                              "kris",
                                                              "PowerMusic",
                                                              "Promizer10c",
                                                              "Promizer18a",
                                                              "Promizer20",
                                                              "ProRunner1",
                                                              "ProRunner2",
                                                              "skyt",
                                                              "WantonPacker",
                                                              "xann",
                                                              "ModuleProtector",
                                                              "DigitalIllusion",
                                                              "PhaPacker",
                                                              "Promizer01",
                                                              "ProPacker21",
                                                              "ProPacker30",
                                                              "Eureka",
                                                              "StarTrekkerPack",
                                                              "mod",
                                                              "unic1",
                                                              "unic2",
                                                              "Fuzzac",
                                                              "gmc",
                                                              "crb",
                                                              "ksm",
                                                              "Noiserunner",
                                                              "NoisePacker1",
                                                              "NoisePacker2",
                                                              "NoisePacker3",
                                                              "P40A",
                                                              "P40B",
                                                              "P41A",
                                                              "Promizer4",
                                                              "ProPacker1",
                                                              "TrackerPacker1",
                                                              "TrackerPacker2",
                                                              "TrackerPacker3",
                                                              "ZenPacker",
                                                              "P50A",
                                                              "P60A",
                                                              "mod",
                                                              "StoneCrackerData",
                                                              "StoneCracker270 ",
                                                              "P61A",
                                                              "stim",
                                                              "mod",
                                                              "TetraPack22",
                                                              "CrunchmaniaData",
                                                              "DefjamCruncher",
                                                              "Tetrapack21",
                                                              "ice",
                                                              "ByteKiller",
                                                              "xpk",
                                                              "Imploder",
                                                              "rnc",
                                                              "DoubleAction",
                                                              "PowerPacker3",
                                                              "PowerPacker4",
                                                              "PowerPacker23",
                                                              "SpikeCruncher",
                                                              "Tetrapack102",
                                                              "TimeCruncher17",
                                                              "MasterCruncher",
                                                              "MegaCruncher",
                                                              "jam",
                                                              "BSI-FC",
                                                              "digi",
                                                              "qc",
                                                              "TheDarkDemon",
                                                              "FuchsTracker",
                                                              "SynchroPacker46",
                                                              "TNMCruncher11",
                                                              "SuperCruncher27",
                                                              "PPbk",
                                                              "RelokIt1",
                                                              "StoneCracker292data",
                                                              "fire",
                                                              "MacPacker12",
                                                              "SoundFX13",
                                                              "arcD",
                                                              "para",
                                                              "crnd",
                                                              "-sb-",
                                                              "sf",
                                                              "",
                                                              "VDC0",
                                                              "sq",
                                                              "sp",
                                                              "ST26",
                                                              "IT10",
                                                              "HQCCruncher2",
                                                              "TtyItCruncher101",
                                                              "FC13",
                                                              "FC14",
                                                              "1AM",
                                                              "2AM",
                                                              "med",
                                                              "AceCruncherData",
                                                              "Newtron",
                                                              "GPMO",
                                                              "PolkaPacker",
                                                              "GnuPlayer",
                                                              "CJ_DataCruncher",
                                                              "AmBk",
                                                              "MasterCruncher3data",
                                                              "xm",
                                                              "MegaCruncherObj",
                                                              "TurboSqueezer61",
                                                              "StoneCracker299d",
                                                              "StoneCracker310",
                                                              "StoneCracker299b",
                                                              "StoneCracker299",
                                                              "StoneCracker300",
                                                              "ThePlayer30a",
                                                              "ThePlayer22a",
                                                              "NoiseFromHeaven",
                                                              "TMK",
                                                              "DragPack252",
                                                              "DragPack100",
                                                              "SPv3",
                                                              "AtomikPackerData",
                                                              "AutomationPackerData",
                                                              "SGTPacker",
                                                              "GNUPacker12",
                                                              "CrunchmaniaSimple",
                                                              "dmu",
                                                              "TitanicsPlayer",
                                                              "NewtronOld",
                                                              "NovoTrade",
                                                              "Skizzo",
                                                              "StoneArtsPlayer",
                                                              "---"};

long directoryEntrySize(const char* path) {
    struct stat info {};
    return stat(path, &info) == 0 ? static_cast<long>(info.st_size) : 0;
}
} // namespace

void installDefaultExtensions(ExtensionTable& table) {
    for (int i = 0; i < ExtensionTable::SlotCount; ++i)
        std::snprintf(table.slot(i), ExtensionTable::SlotSize, "%s", kDefaults[i]);
}

void loadExtensionTable(ExtensionTable& table) {
    std::memset(table.bytes, 0, sizeof table.bytes);
    CFile file(std::fopen(kTypesFile, "rb"));
    if (!file) {
        std::printf("!!! couldn't find \"%s\" file !. Default extension used.\n", kTypesFile);
        installDefaultExtensions(table);
        return;
    }
    const long size = directoryEntrySize(kTypesFile);
    char line[256];
    long filled = 0;
    while (std::ftell(file.get()) + 1 < size) {
        if (!std::fgets(line, sizeof line, file.get()))
            break;
        if (line[0] == '#')
            continue;
        // Characters up to the first CR or LF; a long line runs on into the following slots.
        const std::size_t length = std::strcspn(line, "\r\n");
        char* destination = table.slot(static_cast<int>(filled));
        std::memcpy(destination, line, length);
        destination[length] = '\0';
        if (++filled == ExtensionTable::Definitions)
            return;
    }
    std::printf("!!! Damaged \"%s\" file. Missing up %ld extensions definitions\n", kTypesFile,
                134 - filled);
    installDefaultExtensions(table);
}
