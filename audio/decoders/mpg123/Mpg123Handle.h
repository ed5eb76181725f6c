#pragma once
// Owns an mpg123_handle: mpg123_delete (which also closes the open stream) when it goes.
//
// Threading: a handle is used by one thread at a time, like the decoder that owns it.

#include <mpg123.h>

#include <memory>

namespace audio::mpg123_decoder {

struct Mpg123HandleDeleter {
    void operator()(mpg123_handle* handle) const { mpg123_delete(handle); }
};

using Mpg123Handle = std::unique_ptr<mpg123_handle, Mpg123HandleDeleter>;

// A new handle with the library's default decoder, or null when the library cannot make one.
inline Mpg123Handle makeMpg123Handle() {
    int error = MPG123_OK;
    return Mpg123Handle(mpg123_new(nullptr, &error));
}

} // namespace audio::mpg123_decoder
