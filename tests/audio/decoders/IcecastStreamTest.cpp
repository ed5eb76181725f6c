// http streams from a real Icecast server started on 127.0.0.1 for each test and fed by the
// ffmpeg command, also when the server goes away. (Servers that misbehave: BadInputTest.cpp.)
#include "DecoderTestSupport.h"
#include "IcecastServer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
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

TEST_F(IcecastStream, ServerStoppingMidStreamEndsTheData) {
    auto decoder = feedAndOpen("music.mp3", "mp3", "audio/mpeg", "live.mp3");
    ASSERT_TRUE(decoder);
    std::vector<float> audio(2 * 4096);
    ASSERT_EQ(decoder->read(audio.data(), 4096), 4096u);
    server.kill();

    const auto stopped = Clock::now();
    size_t got = 0;
    do {
        got = decoder->read(audio.data(), 4096);
    } while (got > 0 && secondsSince(stopped) < 30);
    EXPECT_EQ(got, 0u);
    EXPECT_LT(secondsSince(stopped), 3.0 + 2.0);
    EXPECT_EQ(decoder->lastError(), Result::NetworkRead);
}

} // namespace
} // namespace audio::test
