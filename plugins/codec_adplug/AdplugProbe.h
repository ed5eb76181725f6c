#pragma once
// Which of libadplug's formats a file is, decided from its first bytes and its name. libadplug
// picks its player by file-name extension, so the answer is the extension to hand it.
//
// Claimed by content (magic at the start): DOSBox Raw OPL ("DBRAWOPL"), Reality AdLib Tracker
// ("RAD by REALiTY!!"), new-style EdLib D00 ("JCH\x26\x02\x66"), Raw AdLib Capture
// ("RAWADATA"), eXtra Simple Music ("ofTAZ!").
// Claimed by content after our own check, as its player trusts the file (CmfCheck.h): Creative
// Music File ("CTMF").
// Claimed by name and checked for plausibility, as the format has no magic: Apogee IMF (".imf",
// ".wlf"; the register stream must hold OPL registers and fit the file); HSC-Tracker (".hsc",
// checked in full by HscCheck.h, as its player trusts the file).
// Claimed by magic for a separate process only (isolatedExtension), as their players crash or
// never return on damaged files or were never checked against them: AdLib Tracker 2
// ("_A2module_"), Digital-FM ("DFM\x1A"), the XAD wrappers ("XAD!"), BoomTracker
// ("<CUD-FM-File>\x1A"), sopepos' Note Sequencer ("sopepos"), DeFy ("DeFy DTM "), MPU-401
// Trakker ("mpu401tr\x92kk\xeer@data", played by the library's HSC player).
// Never claimed although libadplug reads them: crash-prone formats without magic (Surprise!
// AdLib Tracker 2, Mlat, MKJamz, Bob's AdLib Music, SNGPlay, Faust Music Creator, AMUSIC); S3M
// (libopenmpt's), VGM (the game plug-in's), MIDI and the MIDI-like formats that need separate
// instrument bank files.
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

// The extension of a format that is played only in a separate process (see above), or "".
std::string_view isolatedExtension(std::span<const uint8_t> head);

// False when the whole `file`, claimed as `extension`, fails the full check of a format whose
// player trusts its data (".cmf", ".hsc"); true for every other format. The probe sees only
// the first 4 KiB, so open runs this before libadplug loads anything.
bool wholeFileIsPlayable(std::string_view extension, std::span<const uint8_t> file);

// True when `head` (the file's start; at most 4 KiB are looked at) reads as an IMF register
// stream: a length word that fits the file (`fileSize` bytes, 0 when unknown), OPL registers in
// every record and a key-on among them.
bool looksLikeImf(std::span<const uint8_t> head, size_t fileSize);

} // namespace adplug_codec
