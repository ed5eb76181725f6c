// What the player's log says about a stream, from the status the sound library reports: each
// title once (escaped for the HTML log), every reconnect try by number even when several
// happened between two looks, and how the drop ended.
#include "StreamLog.h"
#include "EngineTestSupport.h"

#include <gtest/gtest.h>

namespace enginetest {
namespace {

audio::StreamStatus look(const std::string& title, uint32_t drops = 0, int tries = 0,
                         bool reconnecting = false, bool lost = false) {
    audio::StreamStatus status;
    status.title = title;
    status.drops = drops;
    status.reconnectTries = 4;
    status.triesAfterDrop = tries;
    status.reconnecting = reconnecting;
    status.lost = lost;
    return status;
}

TEST(StreamLog, TitlesOnceEveryTryByNumberAndTheEndOfEachDrop) {
    const std::string url = "http://radio/live";
    const std::string tryLine = "Stream dropped, reconnecting (try ";
    const struct {
        const char* name;
        std::vector<audio::StreamStatus> looks;
        std::vector<std::pair<int, std::string>> lines;
    } cases[] = {
        {"titles",
         {look(""), look("A - B"), look("A - B"), look("Tom & <Jerry>")},
         {{0, "Stream title: A - B"}, {0, "Stream title: Tom &amp; &lt;Jerry&gt;"}}},
        {"tries between two looks",
         {look(""), look("", 1, 2)},
         {{1, tryLine + "1 of 4): " + url},
          {1, tryLine + "2 of 4): " + url},
          {0, "Stream reconnected: " + url}}},
        {"a second drop counts from one again",
         {look("", 1, 3), look("", 2, 1, true)},
         {{1, tryLine + "1 of 4): " + url},
          {1, tryLine + "2 of 4): " + url},
          {1, tryLine + "3 of 4): " + url},
          {0, "Stream reconnected: " + url},
          {1, tryLine + "1 of 4): " + url}}},
        {"lost",
         {look("", 1, 3, true), look("", 1, 4, false, true), look("", 1, 4, false, true)},
         {{1, tryLine + "1 of 4): " + url},
          {1, tryLine + "2 of 4): " + url},
          {1, tryLine + "3 of 4): " + url},
          {1, tryLine + "4 of 4): " + url},
          {2, "Stream lost: none of 4 reconnect tries worked: " + url}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScratchDir dir("streamlog");
        CapturedLog log(dir.file("log.html"));
        StreamLog streamLog;
        for (const audio::StreamStatus& status : c.looks) {
            streamLog.update(status, url);
        }
        std::vector<std::pair<int, std::string>> lines;
        for (const LogEntry& entry : log.entries()) {
            lines.emplace_back(entry.level, entry.text);
        }
        EXPECT_EQ(lines, c.lines);
    }
}

} // namespace
} // namespace enginetest
