#include "TimeText.h"

namespace {
QString twoDigits(std::uint32_t value) {
    return (value < 10 ? QStringLiteral("0") : QString()) + QString::number(value);
}
} // namespace

QString formatTime(std::uint32_t milliseconds) {
    if (milliseconds == UnknownLengthMs) {
        return QStringLiteral("??:??");
    }
    return twoDigits(milliseconds / 60000) + ":" + twoDigits((milliseconds / 1000) % 60);
}
