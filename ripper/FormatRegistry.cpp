// The converters that are built, one line each. Formats not listed here keep their place in
// the scan order (ScanOrder.cpp) and reject.
#include "Formats.h"

#include "formats/FormatStepsList.h"

#include <array>

namespace {
struct Registry {
    std::array<FormatSteps, static_cast<std::size_t>(FormatId::Count)> steps{};

    void add(FormatId id, const FormatSteps& format) {
        steps[static_cast<std::size_t>(id)] = format;
    }

    Registry() {
        add(FormatId::MultiChannel4, multiChannel4Steps);
        add(FormatId::NoisePackerV2, noisePackerV2Steps);
        add(FormatId::Ac1d, ac1dSteps);
    }
};
} // namespace

const FormatSteps& formatSteps(FormatId id) {
    static const Registry registry;
    return registry.steps[static_cast<std::size_t>(id)];
}
