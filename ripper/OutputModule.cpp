#include "OutputModule.h"

#include <cstdlib>
#include <cstring>

CFile createOutputFile(const char* name, const char* mode) {
    CFile file(std::fopen(name, mode));
    if (!file) {
        std::printf("!!couldn't create the file \"%s\"!\nexiting...", name);
        std::exit(-1);
    }
    return file;
}

namespace {
struct BannerLine {
    long offset;
    const char* text;
};

constexpr BannerLine kBanner31[] = {{560, "[  Converted with  ]"},
                                    {590, "[ Nograsti ]"},
                                    {620, "[ written by Quib! ]"},
                                    {680, "[ Original Format: ]"}};
constexpr BannerLine kBanner15[] = {{260, "[  Converted with  ]"},
                                    {290, "[ Nograsti ]"},
                                    {320, "[ written by Quib! ]"},
                                    {380, "[ Original Format: ]"}};
constexpr long kFormatLine31 = 710;
constexpr long kFormatLine15 = 410;
constexpr long kDeltaLine = 770;
constexpr long kPackedLine = 800;

// Writes the text's characters (no terminating zero) at an absolute offset.
void writeAt(std::FILE* file, long offset, const char* text) {
    std::fseek(file, offset, SEEK_SET);
    std::fwrite(text, 1, std::strlen(text), file);
}

void writeFormatLine(std::FILE* file, long offset, const char* formatName) {
    char line[64];
    std::snprintf(line, sizeof line, "[%s]", formatName);
    writeAt(file, offset, line);
}
} // namespace

void writeBanner31(const char* formatName, int delta, int packed, std::FILE* file) {
    for (const BannerLine& line : kBanner31)
        writeAt(file, line.offset, line.text);
    writeFormatLine(file, kFormatLine31, formatName);
    if (delta == 0)
        writeAt(file, kDeltaLine, "[! smp were DELTA  ]");
    if (packed == 0)
        writeAt(file, kPackedLine, "[! smp were PACKED ]");
}

void writeBanner15(const char* formatName, std::FILE* file) {
    for (const BannerLine& line : kBanner15)
        writeAt(file, line.offset, line.text);
    writeFormatLine(file, kFormatLine15, formatName);
}

int checkSampleDescriptor(std::int64_t length, std::int64_t loopStart, std::int64_t loopLength,
                          int volume, int finetune) {
    if (loopStart > length || loopLength > length + 2 || loopStart + loopLength > length + 2)
        return 1;
    if (loopStart != 0 && loopLength < 3)
        return 1;
    if (volume > 64 || finetune > 15)
        return 1;
    return 0;
}
