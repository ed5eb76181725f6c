// UNIC Tracker v1 and v2: the members' steps (layout in Unic.h). v1 is found four ways, two
// chain tests that differ in the tag field and the "M.K." and "UNIC" tag rows, all with one rip
// and one depack step.
#include "Unic.h"
#include "FormatStepsList.h"

namespace {
using namespace unic;

template <const Variant& V> int testVariant(RipState& st) {
    return testModule(st, V);
}

void ripV1(RipState& st) {
    ripModule(st, "UNIC tracker v1 module", 23);
}
void depackV1(RipState& st) {
    depackModule(st, "   UNIC Tracker   ");
}
void ripV2(RipState& st) {
    ripModule(st, "UNIC tracker v2 module", 24);
}
void depackV2(RipState& st) {
    depackModule(st, "  UNIC Tracker 2  ");
}

// Byte 24 of the first two sample records: zero in every module. The first lies just before
// the scan position, the second 29 bytes behind it.
constexpr ScanGate kFirstRecordGate{-1, 0xFF, 0x00};
constexpr ScanGate kSecondRecordGate{static_cast<std::int8_t>(kRecordBytes - 1), 0xFF, 0x00};
} // namespace

const FormatSteps unicV1ZeroTagByteSteps = {
    testVariant<kV1ZeroTagByte>, ripV1, depackV1, true, {kFirstRecordGate, kSecondRecordGate}};
const FormatSteps unicV1TaggedSteps = {
    testVariant<kV1Tagged>, ripV1, depackV1, true, {kFirstRecordGate, kSecondRecordGate}};
const FormatSteps unicV1MKSteps = {testVariant<kV1AtTag>, ripV1, depackV1};
const FormatSteps unicV1TagSteps = {testVariant<kV1AtTag>, ripV1, depackV1};
const FormatSteps unicV2Steps = {
    testVariant<kV2>, ripV2, depackV2, true, {kFirstRecordGate, kSecondRecordGate}};
