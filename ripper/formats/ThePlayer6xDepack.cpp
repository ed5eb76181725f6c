// The depack step of The Player 5.0A, 6.0A and 6.1A (layout in ThePlayer6x.h).
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "ThePlayer6x.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace thePlayer6x {
namespace {
void writeSampleRecords(const RipState& st, const Layout& layout, ModuleWriter& out) {
    std::array<std::uint8_t, 30> record{};
    for (unsigned i = 0; i < layout.samples; ++i) {
        const std::uint64_t packed = layout.records + kRecordBytes * i;
        const std::uint32_t words = sampleWords(st, layout, i);
        std::uint32_t loopStart = be16OrZero(st, packed + 4);
        std::uint32_t loopWords = words - loopStart;
        if (loopStart == kNoLoop || loopStart >= words) {
            loopStart = 0;
            loopWords = 1;
        }
        record[22] = static_cast<std::uint8_t>(words >> 8);
        record[23] = static_cast<std::uint8_t>(words);
        record[24] = u8OrZero(st, packed + 2) & 0x0F;
        record[25] = u8OrZero(st, packed + 3);
        record[26] = static_cast<std::uint8_t>(loopStart >> 8);
        record[27] = static_cast<std::uint8_t>(loopStart);
        record[28] = static_cast<std::uint8_t>(loopWords >> 8);
        record[29] = static_cast<std::uint8_t>(loopWords);
        out.bytes(record.data(), record.size());
    }
    record.fill(0);
    record[29] = 1;
    for (unsigned i = layout.samples; i < 31; ++i)
        out.bytes(record.data(), record.size());
}

// Writes the song length, restart byte and order list; returns the number of patterns.
unsigned writeOrders(const RipState& st, const Layout& layout, Version version, ModuleWriter& out) {
    std::array<std::uint8_t, 128> orders{};
    unsigned highest = 0;
    for (unsigned i = 0; i < layout.positionCount && i < orders.size(); ++i) {
        orders[i] = static_cast<std::uint8_t>(patternAt(st, layout, version, i));
        highest = std::max<unsigned>(highest, orders[i]);
    }
    out.byte(static_cast<std::uint8_t>(layout.positionCount));
    out.byte(0x7F);
    out.bytes(orders.data(), orders.size());
    return highest + 1;
}

// Writes every sample's data, a repeated sample's from the sample it repeats, summed up when
// delta-coded.
void writeSampleData(const RipState& st, const Layout& layout, ModuleWriter& out) {
    std::vector<std::uint64_t> starts(layout.samples);
    std::uint64_t next = layout.sampleData;
    for (unsigned i = 0; i < layout.samples; ++i) {
        unsigned source = i;
        if (repeatsSample(st, layout, i, source)) {
            starts[i] = source < i ? starts[source] : next;
        } else {
            starts[i] = next;
            next += be16OrZero(st, layout.records + kRecordBytes * i) * 2u;
        }
    }
    std::vector<std::uint8_t> data;
    for (unsigned i = 0; i < layout.samples; ++i) {
        const std::uint32_t bytes = sampleWords(st, layout, i) * 2;
        if (!layout.delta) {
            out.input(starts[i], bytes);
            continue;
        }
        data.resize(bytes);
        std::uint8_t level = 0;
        for (std::uint32_t k = 0; k < bytes; ++k) {
            level = static_cast<std::uint8_t>(level + u8OrZero(st, starts[i] + k));
            data[k] = level;
        }
        out.bytes(data.data(), data.size());
    }
}
} // namespace

void depackModule(RipState& st, Version version, const char* bannerName) {
    if (st.refusedFlag == 1)
        return;
    const Layout layout = layoutAt(st, st.moduleStart);
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    writeSampleRecords(st, layout, out);
    const unsigned patterns = writeOrders(st, layout, version, out);
    out.bytes("M.K.", 4);
    PatternCells cells;
    for (unsigned pattern = 0; pattern < patterns; ++pattern) {
        decodePattern(st, layout, version, pattern, false, cells);
        out.bytes(cells.data(), cells.size());
    }
    writeSampleData(st, layout, out);
    writeBanner31(bannerName, layout.delta ? 0 : 1, layout.packed ? 0 : 1, file.get());
    file.reset();
    std::printf("done\n");
}

} // namespace thePlayer6x
