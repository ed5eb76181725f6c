#include "Result.h"

#include <array>
#include <cstddef>

namespace audio {

const char* errorString(Result result) {
    static constexpr std::array texts = {
        "No errors. ",
        "Invalid handle: the channel or sound is stopped, released or null. ",
        "Invalid parameter. ",
        "File not found. ",
        "File could not be read. ",
        "Unsupported format. ",
        "Corrupt data: the first frames do not decode. ",
        "End of data. ",
        "Seek failed. ",
        "The sound system is not initialised. ",
        "The output device could not be opened. ",
        "Out of memory. ",
        "Plug-in not found. ",
        "Not a valid codec plug-in. ",
        "Could not connect to the server. ",
        "The stream stopped delivering data. ",
        "Protocol or format not allowed. ",
        "No free channel. ",
        "Not supported for this sound. ",
        "Internal error. ",
        "The server did not answer in time. ",
        "The stream is too slow: too little data arrived in time. ",
        "The server answered with an error (HTTP 4xx or 5xx). ",
        "No usable answer from the server: unknown host, redirect loop or broken reply. ",
        "The stream sent too much data without any sound in it. ",
        "The FFmpeg decoder module (libtamberlo-ffmpeg) is missing or broken. ",
    };
    const int index = static_cast<int>(result);
    if (index < 0 || index >= static_cast<int>(texts.size())) {
        return "Unknown error. ";
    }
    return texts[static_cast<std::size_t>(index)];
}

} // namespace audio
