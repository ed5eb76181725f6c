#pragma once
// Reads the Shoutcast/Icecast in-band metadata that FFmpeg's http protocol collects: the latest
// metadata block ("StreamTitle='Artist - Song';StreamUrl='...';") and the icy-* answer headers
// ("icy-name: Station\n", one per line).
//
// Threading: pure functions, callable from any thread.

#include <optional>
#include <string>
#include <string_view>

namespace audio::ffmpeg {

// The StreamTitle of a metadata block as display text (see icyDisplayText); nothing when the
// block has no StreamTitle. The value runs to the first "';" so titles may hold apostrophes.
std::optional<std::string> icyStreamTitle(std::string_view block);

// The value of the header `name` (e.g. "icy-name", any case) in FFmpeg's "key: value\n" list,
// as display text; empty when it is absent.
std::string icyHeader(std::string_view headers, std::string_view name);

// Server text made fit to show and log: UTF-8 stays as it is, anything else is read as
// Latin-1 (what older servers send), control characters become spaces, and the ends are trimmed.
std::string icyDisplayText(std::string_view raw);

} // namespace audio::ffmpeg
