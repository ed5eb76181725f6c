#pragma once
// Which of libadplug's formats a file is, decided from its first bytes and its name. libadplug
// picks its player by file-name extension, so the answer is the extension to hand it.
//
// Claimed by content (magic at the start unless noted): DOSBox Raw OPL ("DBRAWOPL"), Reality
// AdLib Tracker ("RAD by REALiTY!!"), new-style EdLib D00 ("JCH\x26\x02\x66"), AdLib Tracker 2
// ("_A2module_"), Creative Music File ("CTMF"), Raw AdLib Capture ("RAWADATA"), Surprise!
// AdLib Tracker 2 ("SAdT"), XAD wrappers ("XAD!"), Digital-FM ("DFM\x1A"), Mlat ("MAD+"),
// MKJamz ("MKJamz"), Bob's AdLib Music ("CBMF"), BoomTracker ("<CUD-FM-File>\x1A"),
// eXtra Simple Music ("ofTAZ!"), sopepos' Note Sequencer ("sopepos"), DeFy ("DeFy DTM "),
// SNGPlay ("ObsM"), Faust Music Creator ("FMC!" at 0), MPU-401 Trakker
// ("mpu401tr\x92kk\xeer@data"), AMUSIC ("<o\xefQU\xeeRoR" at 1062). Claimed by name and checked for
// plausibility, as these formats have no magic: Apogee IMF
// (".imf", ".wlf"; the register stream must hold OPL registers and fit the file) and
// HSC-Tracker (".hsc"; the size must be the header plus whole patterns).
// Never claimed although libadplug reads them: S3M (libopenmpt's), VGM (the game plug-in's),
// standard MIDI and the MIDI-like formats that need separate instrument bank files.
//
// Threading: pure functions, callable from any thread.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace adplug_codec {

// The extension (".dro", ".imf", ...) of the format `head` (the first bytes of the file, up to
// 4 KiB, or the whole file) holds, or "" when the plug-in does not claim it. `fileName` (may be
// "") and `fileSize` (bytes, 0 when unknown) only matter for the formats without magic.
std::string_view formatExtension(std::span<const uint8_t> head, std::string_view fileName,
                                 size_t fileSize);

// True when `head` (the file's start; at most 4 KiB are looked at) reads as an IMF register
// stream: a length word that fits the file (`fileSize` bytes, 0 when unknown), OPL registers in
// every record and a key-on among them.
bool looksLikeImf(std::span<const uint8_t> head, size_t fileSize);

} // namespace adplug_codec
