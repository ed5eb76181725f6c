// Fuzz target: every input is read as a CUE sheet and as an XSPF list. Besides crashes it checks
// the promises the player relies on: a CUE entry is "SHEET#N" playing a non-empty range of a
// file in the sheet's folder or at an absolute path; an XSPF entry is an absolute path or an
// http(s) URL; no path holds a line break or NUL, and every title is UTF-8.

#include "PathText.h"
#include "PlaylistCue.h"
#include "PlaylistXspf.h"

#include <QStringDecoder>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view SheetPath = "/fuzz/lists/x.cue";
constexpr std::string_view ListPath = "/fuzz/lists/x.xspf";
constexpr std::string_view ListFolder = "/fuzz/lists/";

void require(bool condition, const char* what, const std::string& text) {
    if (!condition) {
        std::fprintf(stderr, "broken promise: %s: '%s'\n", what, text.c_str());
        std::abort();
    }
}

bool hasLineBreakOrNul(const std::string& text) {
    return text.find_first_of(std::string_view("\n\r\0", 3)) != std::string::npos;
}

bool isUtf8(const std::string& text) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString ignored = utf8.decode(QByteArrayView(text.data(), std::ssize(text)));
    return !utf8.hasError();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);

    for (const PlaylistEntry& entry : parseCue(bytes, SheetPath).entries) {
        require(entry.path.starts_with(std::string(SheetPath) + "#"), "not SHEET#N", entry.path);
        require(!hasLineBreakOrNul(entry.trackFile), "line break or NUL in file", entry.trackFile);
        require(pathtext::isAbsolutePath(entry.trackFile) ||
                    entry.trackFile.starts_with(ListFolder),
                "track file neither absolute nor in the sheet's folder", entry.trackFile);
        require(entry.trackEndMs == 0 || entry.trackEndMs > entry.trackStartMs, "empty range",
                entry.path);
        require(!entry.title.empty() && isUtf8(entry.title), "title empty or not UTF-8",
                entry.title);
    }

    for (const PlaylistEntry& entry : parseXspf(bytes, ListPath).entries) {
        require(!hasLineBreakOrNul(entry.path), "line break or NUL in path", entry.path);
        require(pathtext::isHttpUrl(entry.path) || pathtext::isAbsolutePath(entry.path),
                "path neither absolute nor a URL", entry.path);
        require(entry.path.size() <= MaxPathBytes, "path too long", entry.path);
        require(isUtf8(entry.title), "title not UTF-8", entry.title);
    }
    return 0;
}
