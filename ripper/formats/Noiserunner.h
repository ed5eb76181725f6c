#pragma once
// Noiserunner: a ProTracker module whose first 496 bytes hold the packer's own sample records
// and whose cells are stored in another order and encoding; "M.K." stays at 1080.
//
// Packed layout from module start s (big-endian): 0-495 31 sample records of 16 bytes (0
// finetune, 1 volume, 2-5 sample address, 6-7 length in words, 8-11 loop address, 12-13 loop
// length in words, 14-15 not written: whatever the ProTracker header held there); 496-949 the
// rest of the ProTracker header, not read; 950 song length; 951 restart byte; 952-1079 the order
// list; 1080 "M.K."; from 1084 the patterns, 64 rows × 4 channels × 4 bytes; then the sample
// data, plain 8-bit signed PCM in record order.
//
// Cell: byte 0 the effect × 4, with effects 0 and 3 trading places (0x0C is no effect or an
// arpeggio, 0x00 a tone portamento); byte 1 the parameter; byte 2 the note number × 2 (0 none,
// 1-36 index the finetune-0 period table); byte 3 the sample number × 8.
//
// Decisions, taken from the real module:
// - The loop start is the distance of the loop address from the sample address.
// - The finetune is byte 0 of the record: zero in every record of the real module, and the
//   record has no other byte left for it.
// - The sample addresses are the places of the samples in the player's memory: each sample
//   starts at or behind the end of the one before (empty ones may sit anywhere).
// - The packed patterns are as many as the highest of all 128 order entries + 1, as ProTracker
//   counts them; the output keeps the ones the song plays.
//
// Threading: none; used from the ripper's one thread.

#include "../RipState.h"

// Tag step: the position is at "M.K.", so the module starts 1080 bytes before it.
int testNoiserunner(RipState& st);
void ripNoiserunner(RipState& st);
void depackNoiserunner(RipState& st);
