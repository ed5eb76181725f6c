#include "LhStaticDecoder.h"

#include <array>

namespace ym {

namespace {

constexpr int LiteralLengthSymbols = 510; // 256 literals, match lengths 3..256
constexpr int CodeLengthSymbols = 19;
constexpr int MaxCodeBits = 16;
constexpr int MinMatch = 3;

struct Truncated {};
struct Corrupt {};

// Reads bits from the most significant end of each byte.
class BitReader {
public:
    explicit BitReader(std::span<const uint8_t> bytes) : bytes_(bytes) {}

    unsigned bit() {
        if (position_ >= bytes_.size() * 8) {
            throw Truncated{};
        }
        const unsigned value = (bytes_[position_ / 8] >> (7 - position_ % 8)) & 1u;
        ++position_;
        return value;
    }
    unsigned bits(int count) {
        unsigned value = 0;
        for (int i = 0; i < count; ++i) {
            value = (value << 1) | bit();
        }
        return value;
    }

private:
    std::span<const uint8_t> bytes_;
    size_t position_ = 0;
};

// A canonical Huffman code: shorter codes first, equal lengths in symbol order. A table with
// a single symbol and no lengths decodes that symbol without reading bits.
class HuffmanTable {
public:
    void setSingle(int symbol) { single_ = symbol; }
    // Builds the code from `lengths` (0 = unused); throws Corrupt unless the code is complete.
    void build(std::span<const uint8_t> lengths) {
        single_ = -1;
        counts_.fill(0);
        for (uint8_t length : lengths) {
            if (length > MaxCodeBits) {
                throw Corrupt{};
            }
            ++counts_[length];
        }
        counts_[0] = 0;
        int left = 1;
        for (int length = 1; length <= MaxCodeBits; ++length) {
            left = 2 * left - counts_[length];
            if (left < 0) {
                throw Corrupt{};
            }
        }
        if (left != 0) {
            throw Corrupt{};
        }
        std::array<int, MaxCodeBits + 2> offsets{};
        for (int length = 1; length <= MaxCodeBits; ++length) {
            offsets[length + 1] = offsets[length] + counts_[length];
        }
        symbols_.assign(lengths.size(), 0);
        for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
            if (lengths[symbol] != 0) {
                symbols_[offsets[lengths[symbol]]++] = static_cast<uint16_t>(symbol);
            }
        }
    }
    int decode(BitReader& reader) const {
        if (single_ >= 0) {
            return single_;
        }
        int code = 0;
        int first = 0;
        int index = 0;
        for (int length = 1; length <= MaxCodeBits; ++length) {
            code |= static_cast<int>(reader.bit());
            const int count = counts_[length];
            if (code - first < count) {
                return symbols_[index + code - first];
            }
            index += count;
            first = (first + count) << 1;
            code <<= 1;
        }
        throw Corrupt{}; // unreachable for a complete code
    }

private:
    int single_ = 0;
    std::array<int, MaxCodeBits + 1> counts_{};
    std::vector<uint16_t> symbols_;
};

// Reads the lengths of a small table (code lengths or distances): 3 bits each, 7 and more as
// unary continuations; after `zeroRunAfter` lengths, 2 bits of zeros may follow.
void readSmallTable(BitReader& reader, HuffmanTable& table, int symbols, int countBits,
                    int zeroRunAfter) {
    const int count = static_cast<int>(reader.bits(countBits));
    if (count == 0) {
        const int symbol = static_cast<int>(reader.bits(countBits));
        if (symbol >= symbols) {
            throw Corrupt{};
        }
        table.setSingle(symbol);
        return;
    }
    if (count > symbols) {
        throw Corrupt{};
    }
    std::vector<uint8_t> lengths(static_cast<size_t>(symbols), 0);
    int i = 0;
    while (i < count) {
        unsigned length = reader.bits(3);
        if (length == 7) {
            while (reader.bit() != 0) {
                if (++length > MaxCodeBits) {
                    throw Corrupt{};
                }
            }
        }
        lengths[static_cast<size_t>(i++)] = static_cast<uint8_t>(length);
        if (i == zeroRunAfter) {
            i += static_cast<int>(reader.bits(2));
            if (i > symbols) {
                throw Corrupt{};
            }
        }
    }
    table.build(lengths);
}

// Reads the literal/length table's lengths, coded with `codeLengths`: symbols 0..2 are runs
// of zeros (1, 3..18 and 20..531), 3 and up a length of symbol - 2.
void readLiteralTable(BitReader& reader, const HuffmanTable& codeLengths, HuffmanTable& table) {
    const int count = static_cast<int>(reader.bits(9));
    if (count == 0) {
        const int symbol = static_cast<int>(reader.bits(9));
        if (symbol >= LiteralLengthSymbols) {
            throw Corrupt{};
        }
        table.setSingle(symbol);
        return;
    }
    if (count > LiteralLengthSymbols) {
        throw Corrupt{};
    }
    std::vector<uint8_t> lengths(LiteralLengthSymbols, 0);
    int i = 0;
    while (i < count) {
        const int symbol = codeLengths.decode(reader);
        if (symbol <= 2) {
            const int zeros = symbol == 0   ? 1
                              : symbol == 1 ? static_cast<int>(reader.bits(4)) + 3
                                            : static_cast<int>(reader.bits(9)) + 20;
            i += zeros;
            if (i > count) {
                throw Corrupt{};
            }
        } else {
            lengths[static_cast<size_t>(i++)] = static_cast<uint8_t>(symbol - 2);
        }
    }
    table.build(lengths);
}

} // namespace

std::optional<std::vector<uint8_t>> decodeLhStatic(std::span<const uint8_t> packed,
                                                   size_t originalSize, int dictionaryBits) {
    if (dictionaryBits < 12 || dictionaryBits > 16) {
        return std::nullopt;
    }
    const int distanceSymbols = dictionaryBits + 1;
    const int distanceCountBits = dictionaryBits >= 15 ? 5 : 4;
    std::vector<uint8_t> out;
    out.reserve(originalSize);
    try {
        BitReader reader(packed);
        HuffmanTable codeLengths;
        HuffmanTable literals;
        HuffmanTable distances;
        unsigned blockLeft = 0;
        while (out.size() < originalSize) {
            if (blockLeft == 0) {
                blockLeft = reader.bits(16);
                if (blockLeft == 0) {
                    return std::nullopt;
                }
                readSmallTable(reader, codeLengths, CodeLengthSymbols, 5, 3);
                readLiteralTable(reader, codeLengths, literals);
                readSmallTable(reader, distances, distanceSymbols, distanceCountBits, -1);
            }
            --blockLeft;
            const int symbol = literals.decode(reader);
            if (symbol < 256) {
                out.push_back(static_cast<uint8_t>(symbol));
                continue;
            }
            const size_t length = static_cast<size_t>(symbol - 256 + MinMatch);
            const int slot = distances.decode(reader);
            size_t distance = static_cast<size_t>(slot);
            if (slot > 1) {
                distance = (size_t{1} << (slot - 1)) + reader.bits(slot - 1);
            }
            ++distance; // coded as distance - 1
            if (distance > out.size()) {
                return std::nullopt;
            }
            const size_t copy = std::min(length, originalSize - out.size());
            const size_t from = out.size() - distance;
            for (size_t k = 0; k < copy; ++k) {
                out.push_back(out[from + k]);
            }
        }
    } catch (const Truncated&) {
        return std::nullopt;
    } catch (const Corrupt&) {
        return std::nullopt;
    }
    return out;
}

} // namespace ym
