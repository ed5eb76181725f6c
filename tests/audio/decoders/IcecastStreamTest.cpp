// http streams from a real Icecast server started on 127.0.0.1 for each test and fed by the
// ffmpeg command: playing, the ICY title, and reconnecting when the source or the server goes
// away. (Servers that misbehave: BadInputTest.cpp.)
#include "DecoderTestSupport.h"
#include "IcecastServer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <thread>

namespace audio::test {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

NetworkOptions shortTimeouts() {
    NetworkOptions options;
    options.connectTimeoutMs = 3000;
    options.readTimeoutMs = 3000;
    return options;
}

class IcecastStream : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(server.started()) << "icecast did not start"; }

    // Feeds `file` in real time to `mount`, waits until a listener can open it and the server
    // holds a full burst (as a radio that has been on air for a while does), then opens it.
    std::unique_ptr<Decoder> feedAndOpen(const std::string& file, const std::string& format,
                                         const std::string& contentType, const std::string& mount) {
        server.feed(mediaPath(file), format, contentType, mount);
        DecoderSource stream;
        stream.path = server.url(mount);
        stream.network = shortTimeouts();
        const auto start = Clock::now();
        std::unique_ptr<Decoder> decoder;
        Result result = Result::NetworkConnect;
        while (secondsSince(start) < 15) {
            result = openDecoder(stream, nullptr, &decoder);
            if (result == Result::Ok) {
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
        EXPECT_EQ(result, Result::Ok) << mount << ": " << errorString(result);
        decoder.reset();
        std::this_thread::sleep_for(std::chrono::seconds(4));
        const auto attempt = Clock::now();
        result = openDecoder(stream, nullptr, &decoder);
        EXPECT_EQ(result, Result::Ok) << mount << ": " << errorString(result);
        // Opening must not wait for seconds of live audio to arrive.
        EXPECT_LT(secondsSince(attempt), 1.0) << mount;
        return decoder;
    }

    tamberlo::test::IcecastServer server;
};

double rms(const std::vector<float>& samples) {
    double sum = 0;
    for (const float s : samples) {
        sum += double(s) * s;
    }
    return samples.empty() ? 0 : std::sqrt(sum / double(samples.size()));
}

TEST_F(IcecastStream, Mp3AndOggStreamsPlayWithUnknownLength) {
    const struct {
        const char* file;
        const char* format;
        const char* contentType;
        const char* mount;
        SoundType type;
    } streams[] = {
        {"music.mp3", "mp3", "audio/mpeg", "music.mp3", SoundType::MPEG},
        {"music.ogg", "ogg", "application/ogg", "music.ogg", SoundType::OggVorbis},
    };
    for (const auto& s : streams) {
        auto decoder = feedAndOpen(s.file, s.format, s.contentType, s.mount);
        ASSERT_TRUE(decoder) << s.mount;
        EXPECT_EQ(decoder->type(), s.type);
        EXPECT_EQ(decoder->sampleRate(), 44100);
        EXPECT_EQ(decoder->lengthFrames(), UnknownFrames);
        EXPECT_EQ(decoder->lengthRawBytes(), 0u);
        EXPECT_EQ(decoder->seek(1000), Result::Unsupported);
        std::vector<float> audio(2 * 44100);
        ASSERT_EQ(decoder->read(audio.data(), 44100), 44100u) << s.mount;
        EXPECT_GT(rms(audio), 0.01) << s.mount;
        EXPECT_EQ(decoder->lastError(), Result::Ok);
        server.stopFeeding();
    }
}

// Opens `mount` as soon as a listener can, with `options`.
std::unique_ptr<Decoder> openWhenOnAir(const tamberlo::test::IcecastServer& server,
                                       const std::string& mount, const NetworkOptions& options) {
    DecoderSource stream;
    stream.path = server.url(mount);
    stream.network = options;
    std::unique_ptr<Decoder> decoder;
    const auto start = Clock::now();
    while (secondsSince(start) < 15 && openDecoder(stream, nullptr, &decoder) != Result::Ok) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    return decoder;
}

// Reads until `done(frames read so far)` holds, the data ends or `seconds` pass; returns the
// frames read.
size_t readUntil(Decoder& decoder, double seconds, const std::function<bool(size_t)>& done) {
    std::vector<float> audio(2 * 4096);
    size_t total = 0;
    const auto start = Clock::now();
    while (!done(total) && secondsSince(start) < seconds) {
        const size_t got = decoder.read(audio.data(), 4096);
        if (got == 0) {
            break;
        }
        total += got;
    }
    return total;
}

bool never(size_t) {
    return false;
}

// A drop while playing: the source stops (the server closes the connection) or the whole server
// dies (refused from then on). A source back within the back-off plays on with its new title;
// otherwise the data ends after the last try, or at once when reconnecting is off.
TEST(IcecastReconnect, ADroppedStreamPlaysOnWhenTheSourceReturnsAndEndsAfterTheLastTry) {
    const struct {
        const char* name;
        bool serverDies;
        bool sourceReturns;
        int tries;
        double minSeconds; // from the drop to the end of the data
        double maxSeconds;
    } cases[] = {
        {"source returns", false, true, 4, 0, 0},
        {"source gone", false, false, 4, 3.7, 6.5},
        {"server dies", true, false, 4, 3.7, 6.5},
        {"reconnecting off", false, false, 0, 0, 1.5},
    };
    const std::string firstTitle = "Rock 'n' Roll; Part 1";
    const std::string secondTitle = "Second = after the break";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        tamberlo::test::IcecastServer server;
        ASSERT_TRUE(server.started());
        server.feed(mediaPath("music.mp3"), "mp3", "audio/mpeg", "radio.mp3");
        NetworkOptions options = shortTimeouts();
        options.reconnectTries = c.tries;
        options.reconnectDelayMs = 250; // waits of 250, 500, 1000, 2000 ms
        options.reconnectWindowMs = 6000;
        auto decoder = openWhenOnAir(server, "radio.mp3", options);
        ASSERT_TRUE(decoder);
        ASSERT_TRUE(server.setStreamTitle("radio.mp3", firstTitle));
        const auto title = [&] { return decoder->streamStatus().title; };
        readUntil(*decoder, 10, [&](size_t) { return title() == firstTitle; });
        ASSERT_EQ(title(), firstTitle);

        const auto dropped = Clock::now();
        if (c.serverDies) {
            server.kill();
        } else {
            server.stopFeeding();
        }
        if (!c.sourceReturns) {
            readUntil(*decoder, 30, never);
            const double seconds = secondsSince(dropped);
            EXPECT_EQ(readUntil(*decoder, 1, never), 0u) << "nothing after the end";
            EXPECT_GE(seconds, c.minSeconds);
            EXPECT_LT(seconds, c.maxSeconds);
            EXPECT_EQ(decoder->lastError(), Result::NetworkRead);
            EXPECT_EQ(decoder->streamStatus().lost, c.tries > 0);
            continue;
        }
        // The source comes back while the decoder is between tries.
        std::thread restart([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            server.feed(mediaPath("music.mp3"), "mp3", "audio/mpeg", "radio.mp3");
            if (server.waitForMount("radio.mp3", 5000)) {
                server.setStreamTitle("radio.mp3", secondTitle);
            }
        });
        readUntil(*decoder, 20, [&](size_t) { return title() == secondTitle; });
        restart.join();
        EXPECT_EQ(title(), secondTitle);
        const size_t twoSeconds = 2 * 44100;
        EXPECT_GE(readUntil(*decoder, 10, [&](size_t frames) { return frames >= twoSeconds; }),
                  twoSeconds)
            << "plays on";
        const StreamStatus status = decoder->streamStatus();
        EXPECT_EQ(status.drops, 1u);
        EXPECT_FALSE(status.reconnecting);
        EXPECT_GE(status.triesAfterDrop, 2) << "the first try comes before the source is back";
        EXPECT_FALSE(status.lost);
        EXPECT_EQ(decoder->lastError(), Result::Ok);
    }
}

} // namespace
} // namespace audio::test
