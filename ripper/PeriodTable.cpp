#include "PeriodTable.h"

namespace {
constexpr PeriodTable makeTable() {
    constexpr std::uint16_t periods[37] = {0,   856, 808, 762, 720, 678, 640, 604, 570, 538,
                                           508, 480, 453, 428, 404, 381, 360, 339, 320, 302,
                                           285, 269, 254, 240, 226, 214, 202, 190, 180, 170,
                                           160, 151, 143, 135, 127, 120, 113};
    PeriodTable table{};
    for (unsigned i = 0; i < table.size(); ++i)
        table[i] = {static_cast<std::uint8_t>(periods[i] >> 8),
                    static_cast<std::uint8_t>(periods[i] & 0xFF)};
    return table;
}
} // namespace

const PeriodTable ptPeriodTable = makeTable();
