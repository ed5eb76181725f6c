#pragma once
// Result codes of the sound library and their short English texts.
//
// Threading: errorString may be called from any thread (it only reads a constant table).

namespace audio {

// Every operation of the library answers with one of these. Ok is 0; all others are failures.
// The numbers are stable (they appear in the log); new codes are added at the end.
enum class Result : int {
    Ok = 0,
    InvalidHandle = 1, // a stale, stopped, released or null Channel/Sound/Dsp handle
    InvalidParameter = 2,
    FileNotFound = 3,
    FileUnreadable = 4,    // exists but cannot be opened or read
    FormatUnsupported = 5, // no decoder is confident about the data
    FormatCorrupt = 6,     // a decoder accepted the header but the first frames do not decode
    FileEndOfData = 7,     // read or seek past the end
    SeekFailed = 8,
    NotReady = 9,          // the system is not initialised, or already closed
    OutputInitFailed = 10, // the output device could not be opened
    OutOfMemory = 11,
    PluginMissing = 12,   // plug-in file not found
    PluginInvalid = 13,   // plug-in has no entry point, or a table of the wrong version
    NetworkConnect = 14,  // could not connect (refused, unreachable)
    NetworkRead = 15,     // a stream stopped delivering (timeout, server gone)
    ProtocolRefused = 16, // a URL scheme or an input format that is not allowed
    NoFreeChannel = 17,
    Unsupported = 18, // the operation does not apply to this sound (e.g. seeking a live stream)
    Internal = 19,
    NetworkTimeout = 20,   // the server did not answer, or did not finish its answer, in time
    NetworkTooSlow = 21,   // the answer came, but too little of the stream arrived in time
    HttpError = 22,        // the server answered with an error status (4xx or 5xx)
    NetworkBadAnswer = 23, // unknown host, a redirect loop, or an answer that is not HTTP
    StreamOverBudget = 24, // a stream sent more than the player keeps without sound coming out
    NoFfmpegModule = 25,   // the FFmpeg decoder module is missing, broken or of another build
};

// A short English text for the code that ends with one blank, e.g. "File not found. ".
// Unknown codes give "Unknown error. ".
const char* errorString(Result result);

inline int code(Result result) {
    return static_cast<int>(result);
}

} // namespace audio
