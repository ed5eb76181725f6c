#pragma once
// The steps objects of the built converters, each defined in its own file in this folder.
//
// Threading: constant data; any thread.

#include "../Formats.h"

extern const FormatSteps multiChannel4Steps; // MultiChannel.cpp
extern const FormatSteps noisePackerV2Steps; // NoisePackerV2.cpp
extern const FormatSteps ac1dSteps;          // Ac1d.cpp
