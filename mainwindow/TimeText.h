#pragma once
// Time texts of the player's labels.
//
// Threading: pure functions; any thread.

#include <QString>
#include <cstdint>

// Length value meaning "not known" (streams).
inline constexpr std::uint32_t UnknownLengthMs = 4294967295u;

// "MM:SS" from milliseconds: minutes are not reduced modulo 60 (75 minutes read "75:00", 100
// minutes "100:00"); each field has at least two digits. UnknownLengthMs gives "??:??".
QString formatTime(std::uint32_t milliseconds);
