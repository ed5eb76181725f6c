// A stream that stalls (the server keeps the connection open but sends nothing more) counts as
// a drop: the decoder reconnects and plays on. Interrupting the decoder (its sound is released)
// ends the wait between tries at once. (Drops from a real Icecast server: IcecastStreamTest.)
#include "DecoderTestSupport.h"
#include "ScriptedHttpServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace audio::test {
namespace {

using Clock = std::chrono::steady_clock;

TEST(StreamReconnect, AStallIsReconnectedAndAnInterruptEndsTheWaitAtOnce) {
    const std::vector<uint8_t> mp3 = fileBytes(mediaPath("music.mp3"));
    const size_t fileFrames = readAll(*openOrFail(mediaPath("music.mp3"))).size() / 2;
    const struct {
        const char* name;
        int delayMs;    // before the first try
        bool interrupt; // 200 ms into the first wait
    } cases[] = {
        {"stalls, reconnects", 100, false},
        {"interrupted while waiting", 20000, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        // Every connection gets the whole file, then silence on an open connection.
        tamberlo::test::ScriptedHttpServer server(
            {.head = "HTTP/1.0 200 OK\r\nContent-Type: audio/mpeg\r\n\r\n",
             .body = std::string(mp3.begin(), mp3.end())});
        DecoderSource source;
        source.path = server.url("/radio");
        source.network.readTimeoutMs = 500;
        source.network.reconnectDelayMs = c.delayMs;
        std::unique_ptr<Decoder> decoder;
        ASSERT_EQ(openDecoder(source, nullptr, &decoder), Result::Ok);

        std::atomic<Clock::rep> interruptedAt{0};
        std::thread interrupter;
        if (c.interrupt) {
            interrupter = std::thread([&] {
                const auto giveUp = Clock::now() + std::chrono::seconds(10);
                while (!decoder->streamStatus().reconnecting && Clock::now() < giveUp) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(10));
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(200));
                interruptedAt = Clock::now().time_since_epoch().count();
                decoder->interrupt();
            });
        }
        std::vector<float> audio(2 * 4096);
        size_t frames = 0;
        const auto start = Clock::now();
        while (frames < 3 * fileFrames && Clock::now() - start < std::chrono::seconds(15)) {
            const size_t got = decoder->read(audio.data(), 4096);
            if (got == 0) {
                break;
            }
            frames += got;
        }
        const auto endedAt = Clock::now().time_since_epoch().count();
        if (interrupter.joinable()) {
            interrupter.join();
        }
        const StreamStatus status = decoder->streamStatus();
        EXPECT_FALSE(status.lost);
        EXPECT_FALSE(status.reconnecting);
        if (c.interrupt) {
            // A stream does not know the file's end padding, so a little more comes out.
            EXPECT_NEAR(double(frames), double(fileFrames), 4096) << "one connection's worth";
            EXPECT_LT(
                std::chrono::duration<double>(Clock::duration(endedAt - interruptedAt)).count(),
                0.5);
            EXPECT_EQ(decoder->lastError(), Result::NetworkRead);
        } else {
            EXPECT_GE(frames, 3 * fileFrames) << "the file, again after each stall";
            EXPECT_GE(status.drops, 2u);
            EXPECT_EQ(decoder->lastError(), Result::Ok);
        }
    }
}

} // namespace
} // namespace audio::test
