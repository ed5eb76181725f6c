#pragma once
// What the player window's time and info labels show and what that text was made from, so a
// tick whose inputs did not change neither builds the text again nor touches the labels.
//
// Threading: GUI thread only (members of the player window).

#include <QString>

#include <cstdint>
#include <string>

// The time label: which reading, and the whole second it shows.
struct ShownTime {
    bool elapsed = true;
    bool unknownLength = false;
    std::uint32_t seconds = UINT32_MAX; // nothing shown yet
    bool operator==(const ShownTime&) const = default;
};

// The title and info labels: their inputs and the texts made from them.
struct ShownInfo {
    std::string title;
    std::uint32_t lengthMs = 0;
    QString titleText;
    int subsong = -1;
    int subsongCount = 0;
    int frequency = 0;
    unsigned bitRate = 0;
    std::string formatName;
    QString infoText;
};
