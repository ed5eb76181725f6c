#include "TimeText.h"

#include <gtest/gtest.h>

TEST(TimeText, MinutesAreNotWrappedAndUnknownLengthReadsQuestionMarks) {
    const std::pair<std::uint32_t, const char*> cases[] = {
        {0, "00:00"},
        {999, "00:00"},
        {61'000, "01:01"},
        {75 * 60'000, "75:00"},
        {100 * 60'000, "100:00"},
        {599'999, "09:59"},
        {UnknownLengthMs, "??:??"},
        {UnknownLengthMs - 1, "71582:47"},
    };
    for (const auto& [ms, text] : cases) {
        EXPECT_EQ(formatTime(ms), QString(text)) << ms;
    }
}
