#pragma once
// gzip decompression for VGZ files (gzip-compressed VGM), bounded in output size so that a
// small hostile file cannot expand without limit.
//
// Threading: pure functions, callable from any thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace game_codec {

// True when `bytes` is the start of a gzip stream (magic 1F 8B, method 8).
bool isGzip(std::span<const uint8_t> bytes);

// The first `count` (1..64) decompressed bytes of the gzip stream that `head` starts; nothing
// when the stream is broken or holds fewer bytes. Cheap: it inflates just that much.
std::optional<std::vector<uint8_t>> gunzipHead(std::span<const uint8_t> head, size_t count);

// The whole decompressed first member of the gzip stream in `data`; nothing when the stream is
// broken, truncated or would be larger than `maxBytes`.
std::optional<std::vector<uint8_t>> gunzip(std::span<const uint8_t> data, size_t maxBytes);

} // namespace game_codec
