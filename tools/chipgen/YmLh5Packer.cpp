#include "YmLh5Packer.h"

#include <algorithm>
#include <array>
#include <queue>

namespace chipgen {

namespace {

constexpr size_t WindowBytes = 8192;
constexpr size_t MinMatch = 3;
constexpr size_t MaxMatch = 256;
constexpr int LiteralLengthSymbols = 510;
constexpr int CodeLengthSymbols = 19;
constexpr int DistanceSymbols = 14;
constexpr int MaxCodeBits = 16;
constexpr int ChainLimit = 128;

class BitWriter {
public:
    void put(uint32_t value, int count) {
        for (int i = count - 1; i >= 0; --i) {
            current_ = static_cast<uint8_t>((current_ << 1) | ((value >> i) & 1));
            if (++filled_ == 8) {
                bytes_.push_back(current_);
                filled_ = 0;
                current_ = 0;
            }
        }
    }
    std::vector<uint8_t> finish() {
        if (filled_ > 0) {
            bytes_.push_back(static_cast<uint8_t>(current_ << (8 - filled_)));
        }
        return std::move(bytes_);
    }

private:
    std::vector<uint8_t> bytes_;
    uint8_t current_ = 0;
    int filled_ = 0;
};

struct Token {
    uint16_t symbol;   // literal byte, or 256 + length - 3
    uint16_t distance; // match distance - 1
};

int distanceSlot(unsigned distance) {
    int slot = 0;
    while (distance != 0) {
        ++slot;
        distance >>= 1;
    }
    return slot;
}

std::vector<Token> findMatches(std::span<const uint8_t> data) {
    std::vector<Token> tokens;
    std::vector<int> head(1 << 15, -1);
    std::vector<int> previous(data.size(), -1);
    auto hashAt = [&](size_t i) {
        return ((data[i] << 10) ^ (data[i + 1] << 5) ^ data[i + 2]) & 0x7FFF;
    };
    auto insert = [&](size_t i) {
        if (i + MinMatch <= data.size()) {
            const int hash = hashAt(i);
            previous[i] = head[static_cast<size_t>(hash)];
            head[static_cast<size_t>(hash)] = static_cast<int>(i);
        }
    };
    size_t i = 0;
    while (i < data.size()) {
        size_t bestLength = 0;
        size_t bestDistance = 0;
        if (i + MinMatch <= data.size()) {
            const size_t limit = std::min(MaxMatch, data.size() - i);
            int candidate = head[static_cast<size_t>(hashAt(i))];
            for (int tries = 0; candidate >= 0 && tries < ChainLimit; ++tries) {
                const size_t from = static_cast<size_t>(candidate);
                if (i - from > WindowBytes) {
                    break;
                }
                size_t length = 0;
                while (length < limit && data[from + length] == data[i + length]) {
                    ++length;
                }
                if (length > bestLength) {
                    bestLength = length;
                    bestDistance = i - from;
                }
                candidate = previous[from];
            }
        }
        if (bestLength >= MinMatch) {
            tokens.push_back({static_cast<uint16_t>(256 + bestLength - MinMatch),
                              static_cast<uint16_t>(bestDistance - 1)});
            for (size_t k = 0; k < bestLength; ++k) {
                insert(i + k);
            }
            i += bestLength;
        } else {
            tokens.push_back({data[i], 0});
            insert(i);
            ++i;
        }
    }
    return tokens;
}

// Huffman code lengths for `frequencies`, none longer than 16 bits (rare symbols are made
// more common until the tree is shallow enough). Unused symbols get 0.
std::vector<uint8_t> codeLengths(std::vector<uint32_t> frequencies) {
    const size_t count = frequencies.size();
    std::vector<uint8_t> lengths(count, 0);
    while (true) {
        struct Node {
            uint64_t weight;
            int index;
        };
        auto heavier = [](const Node& a, const Node& b) { return a.weight > b.weight; };
        std::priority_queue<Node, std::vector<Node>, decltype(heavier)> queue(heavier);
        std::vector<int> parent;
        for (size_t s = 0; s < count; ++s) {
            parent.push_back(-1);
            if (frequencies[s] > 0) {
                queue.push({frequencies[s], static_cast<int>(s)});
            }
        }
        while (queue.size() > 1) {
            const Node a = queue.top();
            queue.pop();
            const Node b = queue.top();
            queue.pop();
            const int joined = static_cast<int>(parent.size());
            parent.push_back(-1);
            parent[static_cast<size_t>(a.index)] = joined;
            parent[static_cast<size_t>(b.index)] = joined;
            queue.push({a.weight + b.weight, joined});
        }
        bool fits = true;
        for (size_t s = 0; s < count; ++s) {
            int depth = 0;
            for (int node = parent[s]; node >= 0; node = parent[static_cast<size_t>(node)]) {
                ++depth;
            }
            lengths[s] = static_cast<uint8_t>(std::min(depth, 255));
            fits = fits && depth <= MaxCodeBits;
        }
        if (fits) {
            return lengths;
        }
        for (auto& frequency : frequencies) {
            frequency = frequency == 0 ? 0 : (frequency + 1) / 2;
        }
    }
}

// Canonical codes for `lengths`: shorter first, equal lengths in symbol order.
std::vector<uint32_t> canonicalCodes(const std::vector<uint8_t>& lengths) {
    std::array<uint32_t, MaxCodeBits + 2> counts{};
    for (uint8_t length : lengths) {
        ++counts[length];
    }
    counts[0] = 0;
    std::array<uint32_t, MaxCodeBits + 2> next{};
    uint32_t code = 0;
    for (int bits = 1; bits <= MaxCodeBits; ++bits) {
        code = (code + counts[static_cast<size_t>(bits - 1)]) << 1;
        next[static_cast<size_t>(bits)] = code;
    }
    std::vector<uint32_t> codes(lengths.size(), 0);
    for (size_t s = 0; s < lengths.size(); ++s) {
        if (lengths[s] != 0) {
            codes[s] = next[lengths[s]]++;
        }
    }
    return codes;
}

size_t transmittedCount(const std::vector<uint8_t>& lengths) {
    size_t n = lengths.size();
    while (n > 0 && lengths[n - 1] == 0) {
        --n;
    }
    return n;
}

// A table of code lengths or distances: 3 bits per length, 7 and up as unary; after the
// third length (code-length table only) a 2-bit count of zeros to skip.
void writeSmallTable(BitWriter& out, const std::vector<uint8_t>& lengths, int countBits,
                     size_t zeroRunAfter, int singleSymbol) {
    if (singleSymbol >= 0) {
        out.put(0, countBits);
        out.put(static_cast<uint32_t>(singleSymbol), countBits);
        return;
    }
    const size_t n = transmittedCount(lengths);
    out.put(static_cast<uint32_t>(n), countBits);
    size_t i = 0;
    while (i < n) {
        const unsigned length = lengths[i++];
        if (length <= 6) {
            out.put(length, 3);
        } else {
            out.put((1u << (length - 3)) - 2, static_cast<int>(length - 3));
        }
        if (i == zeroRunAfter) {
            size_t zeros = 0;
            while (zeros < 3 && i + zeros < n && lengths[i + zeros] == 0) {
                ++zeros;
            }
            out.put(static_cast<uint32_t>(zeros), 2);
            i += zeros;
        }
    }
}

// The literal/length lengths as code-length symbols: 0 one zero, 1 3..18 zeros (4 bits),
// 2 20..531 zeros (9 bits), 3 and up a length of symbol - 2.
struct CodedLength {
    uint8_t symbol;
    uint16_t extra;
};
std::vector<CodedLength> codeLiteralLengths(const std::vector<uint8_t>& lengths) {
    std::vector<CodedLength> coded;
    const size_t n = transmittedCount(lengths);
    size_t i = 0;
    while (i < n) {
        if (lengths[i] != 0) {
            coded.push_back({static_cast<uint8_t>(lengths[i++] + 2), 0});
            continue;
        }
        size_t run = 0;
        while (i + run < n && lengths[i + run] == 0) {
            ++run;
        }
        i += run;
        while (run > 0) {
            if (run <= 2) {
                coded.push_back({0, 0});
                --run;
            } else if (run <= 18) {
                coded.push_back({1, static_cast<uint16_t>(run - 3)});
                run = 0;
            } else if (run == 19) {
                coded.push_back({0, 0});
                --run;
            } else {
                const size_t take = std::min<size_t>(run, 531);
                coded.push_back({2, static_cast<uint16_t>(take - 20)});
                run -= take;
            }
        }
    }
    return coded;
}

int onlySymbol(const std::vector<uint32_t>& frequencies) {
    int found = -1;
    for (size_t s = 0; s < frequencies.size(); ++s) {
        if (frequencies[s] != 0) {
            if (found >= 0) {
                return -1;
            }
            found = static_cast<int>(s);
        }
    }
    return found < 0 ? 0 : found;
}

void writeBlock(BitWriter& out, std::span<const Token> tokens) {
    std::vector<uint32_t> literalFrequencies(LiteralLengthSymbols, 0);
    std::vector<uint32_t> distanceFrequencies(DistanceSymbols, 0);
    for (const Token& token : tokens) {
        ++literalFrequencies[token.symbol];
        if (token.symbol >= 256) {
            ++distanceFrequencies[static_cast<size_t>(distanceSlot(token.distance))];
        }
    }
    out.put(static_cast<uint32_t>(tokens.size()), 16);

    const int singleLiteral = onlySymbol(literalFrequencies);
    const auto literalLengths = singleLiteral >= 0 ? std::vector<uint8_t>(LiteralLengthSymbols, 0)
                                                   : codeLengths(literalFrequencies);
    if (singleLiteral >= 0) {
        writeSmallTable(out, {}, 5, 3, 0);
        out.put(0, 9);
        out.put(static_cast<uint32_t>(singleLiteral), 9);
    } else {
        const auto coded = codeLiteralLengths(literalLengths);
        std::vector<uint32_t> codedFrequencies(CodeLengthSymbols, 0);
        for (const auto& c : coded) {
            ++codedFrequencies[c.symbol];
        }
        const int singleCoded = onlySymbol(codedFrequencies);
        const auto codedLengths = singleCoded >= 0 ? std::vector<uint8_t>(CodeLengthSymbols, 0)
                                                   : codeLengths(codedFrequencies);
        const auto codedCodes = canonicalCodes(codedLengths);
        writeSmallTable(out, codedLengths, 5, 3, singleCoded);
        out.put(static_cast<uint32_t>(transmittedCount(literalLengths)), 9);
        for (const auto& c : coded) {
            out.put(codedCodes[c.symbol], codedLengths[c.symbol]);
            if (c.symbol == 1) {
                out.put(c.extra, 4);
            } else if (c.symbol == 2) {
                out.put(c.extra, 9);
            }
        }
    }
    const int singleDistance = onlySymbol(distanceFrequencies);
    const auto distanceLengths = singleDistance >= 0 ? std::vector<uint8_t>(DistanceSymbols, 0)
                                                     : codeLengths(distanceFrequencies);
    writeSmallTable(out, distanceLengths, 4, 0, singleDistance);

    const auto literalCodes = canonicalCodes(literalLengths);
    const auto distanceCodes = canonicalCodes(distanceLengths);
    for (const Token& token : tokens) {
        out.put(literalCodes[token.symbol], literalLengths[token.symbol]);
        if (token.symbol < 256) {
            continue;
        }
        const int slot = distanceSlot(token.distance);
        out.put(distanceCodes[static_cast<size_t>(slot)],
                distanceLengths[static_cast<size_t>(slot)]);
        if (slot > 1) {
            out.put(token.distance - (1u << (slot - 1)), slot - 1);
        }
    }
}

void putLittle(std::vector<uint8_t>& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

// Level 2: a 16-bit total header size first, the name in an extended header.
std::vector<uint8_t> levelTwoArchive(std::span<const uint8_t> data,
                                     const std::vector<uint8_t>& packed, const std::string& method,
                                     const std::string& name) {
    std::vector<uint8_t> archive(2, 0);
    archive.insert(archive.end(), method.begin(), method.end());
    putLittle(archive, static_cast<uint32_t>(packed.size()), 4);
    putLittle(archive, static_cast<uint32_t>(data.size()), 4);
    putLittle(archive, 1700000000, 4); // a Unix time
    archive.push_back(0x20);
    archive.push_back(2);
    putLittle(archive, lhaChecksum(data), 2);
    archive.push_back('U');
    putLittle(archive, static_cast<uint32_t>(3 + name.size()), 2);
    archive.push_back(0x01); // file name
    archive.insert(archive.end(), name.begin(), name.end());
    putLittle(archive, 0, 2); // no more extended headers
    archive[0] = static_cast<uint8_t>(archive.size());
    archive[1] = static_cast<uint8_t>(archive.size() >> 8);
    archive.insert(archive.end(), packed.begin(), packed.end());
    archive.push_back(0);
    return archive;
}

} // namespace

std::vector<uint8_t> lh5Compress(std::span<const uint8_t> data, size_t blockSymbols) {
    blockSymbols = std::clamp<size_t>(blockSymbols, 1, 65535);
    const auto tokens = findMatches(data);
    BitWriter out;
    for (size_t at = 0; at < tokens.size(); at += blockSymbols) {
        writeBlock(out, std::span(tokens).subspan(at, std::min(blockSymbols, tokens.size() - at)));
    }
    return out.finish();
}

std::vector<uint8_t> lhaArchive(std::span<const uint8_t> data, const LhaMemberOptions& options) {
    const auto packed =
        options.stored ? std::vector<uint8_t>(data.begin(), data.end()) : lh5Compress(data);
    const std::string method = options.stored ? "-lh0-" : "-lh5-";
    if (options.level == 2) {
        return levelTwoArchive(data, packed, method, options.name);
    }
    std::vector<uint8_t> header;
    header.insert(header.end(), method.begin(), method.end());
    // Level 1 counts its extended headers (here only the terminating size) in the packed size.
    putLittle(header, static_cast<uint32_t>(packed.size()), 4);
    putLittle(header, static_cast<uint32_t>(data.size()), 4);
    putLittle(header, 0x5A210000, 4); // a DOS date and time
    header.push_back(options.level == 0 ? 0x00 : 0x20);
    header.push_back(static_cast<uint8_t>(options.level));
    header.push_back(static_cast<uint8_t>(options.name.size()));
    header.insert(header.end(), options.name.begin(), options.name.end());
    putLittle(header, lhaChecksum(data), 2);
    if (options.level == 1) {
        header.push_back('U');   // OS id
        putLittle(header, 0, 2); // no extended headers
    }
    uint8_t sum = 0;
    for (uint8_t byte : header) {
        sum = static_cast<uint8_t>(sum + byte);
    }
    header.insert(header.begin(), {static_cast<uint8_t>(header.size()), sum});
    std::vector<uint8_t> archive = std::move(header);
    archive.insert(archive.end(), packed.begin(), packed.end());
    archive.push_back(0); // end of archive
    return archive;
}

uint16_t lhaChecksum(std::span<const uint8_t> data) {
    uint16_t crc = 0;
    for (uint8_t byte : data) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? static_cast<uint16_t>((crc >> 1) ^ 0xA001)
                                 : static_cast<uint16_t>(crc >> 1);
        }
    }
    return crc;
}

} // namespace chipgen
