#include "YmWriter.h"

namespace chipgen {

namespace {

void putBig(std::vector<uint8_t>& out, uint32_t value, int bytes) {
    for (int i = bytes - 1; i >= 0; --i) {
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

void putText(std::vector<uint8_t>& out, const std::string& text) {
    out.insert(out.end(), text.begin(), text.end());
    out.push_back(0);
}

// Registers 0..count-1 of every frame, all frames of a register together when interleaved.
void putFrames(std::vector<uint8_t>& out, const YmDescription& song, size_t count,
               bool interleaved) {
    std::vector<std::array<uint8_t, 16>> registers;
    for (const auto& frame : song.frames) {
        registers.push_back(ymRegisters(frame));
    }
    if (interleaved) {
        for (size_t r = 0; r < count; ++r) {
            for (const auto& frame : registers) {
                out.push_back(frame[r]);
            }
        }
    } else {
        for (const auto& frame : registers) {
            out.insert(out.end(), frame.begin(), frame.begin() + static_cast<long>(count));
        }
    }
}

} // namespace

std::array<uint8_t, 16> ymRegisters(const YmFrame& frame) {
    std::array<uint8_t, 16> r{};
    for (size_t channel = 0; channel < 3; ++channel) {
        r[2 * channel] = static_cast<uint8_t>(frame.tonePeriods[channel] & 0xFF);
        r[2 * channel + 1] = static_cast<uint8_t>((frame.tonePeriods[channel] >> 8) & 0x0F);
        r[8 + channel] = static_cast<uint8_t>(frame.volumes[channel] & 0x1F);
    }
    r[6] = static_cast<uint8_t>(frame.noisePeriod & 0x1F);
    r[7] = frame.mixer;
    r[11] = static_cast<uint8_t>(frame.envelopePeriod & 0xFF);
    r[12] = static_cast<uint8_t>(frame.envelopePeriod >> 8);
    r[13] = frame.envelopeShape;
    r[14] = frame.register14;
    r[15] = frame.register15;
    for (size_t i = 0; i < r.size(); ++i) {
        r[i] |= frame.extraBits[i];
    }
    return r;
}

std::vector<uint8_t> writeYm(const YmDescription& song, YmFormat format) {
    std::vector<uint8_t> out;
    if (format == YmFormat::Ym3 || format == YmFormat::Ym3b) {
        const std::string magic = format == YmFormat::Ym3 ? "YM3!" : "YM3b";
        out.assign(magic.begin(), magic.end());
        putFrames(out, song, 14, true);
        if (format == YmFormat::Ym3b) {
            for (int i = 0; i < 4; ++i) { // loop frame, little-endian
                out.push_back(static_cast<uint8_t>(song.loopFrame >> (8 * i)));
            }
        }
        return out;
    }
    const std::string magic = format == YmFormat::Ym5 ? "YM5!LeOnArD!" : "YM6!LeOnArD!";
    out.assign(magic.begin(), magic.end());
    putBig(out, static_cast<uint32_t>(song.frames.size()), 4);
    putBig(out, song.interleaved ? 1 : 0, 4); // attributes: interleaved, unsigned 8-bit drums
    putBig(out, static_cast<uint32_t>(song.drums.size()), 2);
    putBig(out, song.clockHz, 4);
    putBig(out, song.frameRate, 2);
    putBig(out, song.loopFrame, 4);
    putBig(out, 0, 2); // no extra data
    for (const auto& drum : song.drums) {
        putBig(out, static_cast<uint32_t>(drum.size()), 4);
        out.insert(out.end(), drum.begin(), drum.end());
    }
    putText(out, song.name);
    putText(out, song.author);
    putText(out, song.comment);
    putFrames(out, song, 16, song.interleaved);
    for (char c : std::string("End!")) {
        out.push_back(static_cast<uint8_t>(c));
    }
    return out;
}

std::vector<YmFrame> ymToneFrames(uint16_t period, uint8_t volume, size_t count) {
    YmFrame frame;
    frame.tonePeriods[0] = period;
    frame.volumes[0] = volume;
    frame.mixer = 0x3E; // tone A only
    return std::vector<YmFrame>(count, frame);
}

} // namespace chipgen
