// The tick clock that turns player ticks into frames: exact over many ticks, and safe with the
// tick rates a broken song may report.
#include "TickClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

TEST(AdplugTickClock, CountsFramesWithoutDrift) {
    adplug_codec::TickClock clock(49716);
    uint64_t end = 0;
    for (int tick = 0; tick < 560 * 600; ++tick) { // ten minutes at the IMF rate
        end = clock.advance(560);
    }
    EXPECT_NEAR(static_cast<double>(end), 49716.0 * 600, 1.0);
}

TEST(AdplugTickClock, KeepsAbsurdRatesWithinBounds) {
    const struct {
        double refreshHz;
        double tickSeconds;
    } cases[] = {
        {0, 1000},
        {-5, 1000},
        {std::numeric_limits<double>::quiet_NaN(), 1000},
        {1e-9, 1000},
        {std::numeric_limits<double>::infinity(), 1e-4},
        {1e9, 1e-4},
        {70, 1.0 / 70},
    };
    for (const auto& rate : cases) {
        adplug_codec::TickClock clock(49716);
        const uint64_t first = clock.advance(rate.refreshHz);
        EXPECT_DOUBLE_EQ(clock.seconds(), rate.tickSeconds) << rate.refreshHz;
        EXPECT_GE(first, 4u) << "every tick lasts a few frames at least";
        EXPECT_EQ(first, static_cast<uint64_t>(std::floor(rate.tickSeconds * 49716)));
    }
}

} // namespace
