#include "TickClock.h"

#include <cmath>

namespace adplug_codec {

uint64_t TickClock::advance(double refreshHz) {
    if (!(refreshHz >= MinRefreshHz)) { // also NaN
        refreshHz = MinRefreshHz;
    } else if (refreshHz > MaxRefreshHz) {
        refreshHz = MaxRefreshHz;
    }
    seconds_ += 1.0 / refreshHz;
    return static_cast<uint64_t>(std::floor(seconds_ * sampleRate_));
}

} // namespace adplug_codec
