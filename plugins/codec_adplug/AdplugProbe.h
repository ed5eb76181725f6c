#pragma once
// Which of libadplug's formats a file is, decided from its first bytes and its name. libadplug
// picks its player by file-name extension, so the answer is the extension to hand it.
//
// Claimed by content (magic at the start): DOSBox Raw OPL ("DBRAWOPL"), Reality AdLib Tracker
// ("RAD by REALiTY!!"), new-style EdLib D00 ("JCH\x26\x02\x66"), Raw AdLib Capture
// ("RAWADATA"), eXtra Simple Music ("ofTAZ!"), MPU-401 Trakker ("mpu401tr\x92kk\xeer@data").
// Claimed by content after our own check, as its player trusts the file (CmfCheck.h): Creative
// Music File ("CTMF").
// Claimed by name and checked for plausibility, as the format has no magic: Apogee IMF (".imf",
// ".wlf"; the register stream must hold OPL registers and fit the file); HSC-Tracker (".hsc",
// checked in full by HscCheck.h, as its player trusts the file).
// Never claimed although libadplug reads them: formats whose libadplug players crash or never
// return on damaged files (Digital-FM, the XAD wrappers, AdLib Tracker 2, Surprise! AdLib
// Tracker 2, Mlat, MKJamz, Bob's AdLib Music, SNGPlay, Faust Music Creator, AMUSIC); formats whose
// players no damaged file reached in our checks (BoomTracker, sopepos' Note Sequencer, DeFy), so
// they stay out until they are checked; formats without magic; S3M (libopenmpt's), VGM (the game
// plug-in's), MIDI and the MIDI-like formats that need separate instrument bank files.
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

// False when the whole `file`, claimed as `extension`, fails the full check of a format whose
// player trusts its data (".cmf", ".hsc"); true for every other format. The probe sees only
// the first 4 KiB, so open runs this before libadplug loads anything.
bool wholeFileIsPlayable(std::string_view extension, std::span<const uint8_t> file);

// True when `head` (the file's start; at most 4 KiB are looked at) reads as an IMF register
// stream: a length word that fits the file (`fileSize` bytes, 0 when unknown), OPL registers in
// every record and a key-on among them.
bool looksLikeImf(std::span<const uint8_t> head, size_t fileSize);

} // namespace adplug_codec
