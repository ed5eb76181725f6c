#include "CmfCheck.h"

#include "CodecPlugin.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>
#include <optional>

namespace adplug_codec {

namespace {

constexpr size_t HeaderBytesV10 = 37;
constexpr size_t HeaderBytesV11 = 40;
constexpr size_t InstrumentBytes = 16;
constexpr int MaxNumberBytes = 4; // a MIDI variable-length number holds 28 bits

constexpr uint8_t MetaEvent = 0xFF;
constexpr uint8_t EndOfTrack = 0x2F;
constexpr uint8_t NoteOff = 0x80;
constexpr uint8_t NoteOn = 0x90;
constexpr uint8_t ProgramChange = 0xC0;
constexpr uint8_t ChannelPressure = 0xD0;

unsigned word(std::span<const uint8_t> bytes, size_t at) {
    return bytes[at] | (bytes[at + 1] << 8);
}

unsigned version(std::span<const uint8_t> head) {
    return word(head, 4);
}

// Reads the variable-length number at `at`, moving `at` past it; nothing when it runs past the
// end or over four bytes.
std::optional<uint32_t> readNumber(std::span<const uint8_t> bytes, size_t& at) {
    uint32_t value = 0;
    for (int i = 0; i < MaxNumberBytes && at < bytes.size(); ++i) {
        const uint8_t byte = bytes[at++];
        value = (value << 7) | (byte & 0x7F);
        if ((byte & 0x80) == 0) {
            return value;
        }
    }
    return std::nullopt;
}

// A title string starting at `offset` (0: none) must end inside the file.
bool tagIsValid(std::span<const uint8_t> file, size_t offset) {
    return offset == 0 ||
           (offset < file.size() && std::find(file.begin() + static_cast<std::ptrdiff_t>(offset),
                                              file.end(), 0) != file.end());
}

// Walks the event stream `music` once; see isPlayableCmf.
bool streamIsValid(std::span<const uint8_t> music, unsigned instruments) {
    size_t at = 0;
    uint8_t status = 0;
    bool first = true;
    bool timePasses = false;
    // The player plays a channel's note with the channel's last program, and a channel
    // without one reads an instrument number from memory it never set.
    std::bitset<16> patched;
    // A note-off event for a key that does not sound can keep the player inside one update()
    // for ever; a note on at velocity 0 is an ordinary key off and may be stray.
    std::array<std::bitset<128>, 16> sounding;
    while (at < music.size()) {
        const std::optional<uint32_t> delta = readNumber(music, at);
        if (!delta || at >= music.size()) {
            return false;
        }
        timePasses = timePasses || (*delta != 0 && !first);
        first = false;
        if ((music[at] & 0x80) != 0) {
            status = music[at++];
        } else if (status == 0) {
            return false; // running status before any status byte
        }
        if (status == MetaEvent) {
            // Only the end of the track: its type and a zero length.
            if (at + 2 > music.size() || music[at] != EndOfTrack || music[at + 1] != 0) {
                return false;
            }
            break;
        }
        if (status >= 0xF0) {
            return false; // system messages are not part of a CMF stream
        }
        const uint8_t kind = status & 0xF0;
        const size_t dataBytes = (kind == ProgramChange || kind == ChannelPressure) ? 1 : 2;
        if (at + dataBytes > music.size()) {
            return false;
        }
        for (size_t i = 0; i < dataBytes; ++i) {
            if ((music[at + i] & 0x80) != 0) {
                return false;
            }
        }
        const size_t channel = status & 0x0F;
        if (kind == ProgramChange) {
            if (music[at] >= instruments) {
                return false;
            }
            patched.set(channel);
        } else if (kind == NoteOn || kind == NoteOff) {
            const uint8_t key = music[at];
            const bool keyOn = kind == NoteOn && music[at + 1] != 0;
            if (!patched.test(channel) || (kind == NoteOff && !sounding[channel].test(key))) {
                return false;
            }
            sounding[channel].set(key, keyOn);
        }
        at += dataBytes;
    }
    return timePasses;
}

} // namespace

bool cmfHeaderIsPlausible(std::span<const uint8_t> head) {
    if (head.size() < HeaderBytesV11 || !tamberlo_codec::startsWith(head, "CTMF")) {
        return false;
    }
    const unsigned v = version(head);
    return (v == 0x0100 || v == 0x0101) && word(head, 10) != 0 && word(head, 12) != 0;
}

bool isPlayableCmf(std::span<const uint8_t> file) {
    if (!cmfHeaderIsPlausible(file)) {
        return false;
    }
    const bool v10 = version(file) == 0x0100;
    const size_t headerBytes = v10 ? HeaderBytesV10 : HeaderBytesV11;
    const size_t instrumentOffset = word(file, 6);
    const size_t musicOffset = word(file, 8);
    const unsigned instruments = v10 ? file[36] : word(file, 36);
    if (instruments == 0 || instrumentOffset < headerBytes ||
        instrumentOffset + instruments * InstrumentBytes > file.size() ||
        musicOffset < headerBytes || musicOffset >= file.size()) {
        return false;
    }
    for (const size_t tagField : {14, 16, 18}) {
        if (!tagIsValid(file, word(file, tagField))) {
            return false;
        }
    }
    return streamIsValid(file.subspan(musicOffset), instruments);
}

} // namespace adplug_codec
