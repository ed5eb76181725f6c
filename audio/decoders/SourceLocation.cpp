#include "SourceLocation.h"

#include <cctype>
#include <filesystem>
#include <system_error>

namespace audio {

namespace {

std::string lowered(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

// The scheme of an RFC 3986 URI ("http" of "http://x"), or "" when `text` has none. A single
// letter before the colon is a Windows drive, not a scheme.
std::string schemeOf(const std::string& text) {
    const auto colon = text.find(':');
    if (colon == std::string::npos || colon < 2) {
        return {};
    }
    if (!std::isalpha(static_cast<unsigned char>(text[0]))) {
        return {};
    }
    for (size_t i = 1; i < colon; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (!std::isalnum(c) && c != '+' && c != '-' && c != '.') {
            return {};
        }
    }
    return lowered(text.substr(0, colon));
}

} // namespace

Result resolveSourceLocation(const DecoderSource& source, SourceLocation* out) {
    if (source.memory) {
        *out = {SourceKind::Memory, source.path};
        return Result::Ok;
    }
    if (source.path.empty()) {
        return Result::FileNotFound;
    }
    std::string path = source.path;
    const std::string scheme = schemeOf(path);
    if (scheme == "http" || scheme == "https") {
        *out = {SourceKind::NetworkUrl, path};
        return Result::Ok;
    }
    if (scheme == "file") {
        path = path.substr(5);
        // "file://host/path" is not supported; "file:///path" and "file:/path" are.
        if (path.rfind("//", 0) == 0) {
            path = path.substr(2);
            if (!path.empty() && path[0] != '/') {
                return Result::ProtocolRefused;
            }
        }
        if (path.empty()) {
            return Result::FileNotFound;
        }
    } else if (!scheme.empty()) {
        return Result::ProtocolRefused;
    }
    std::error_code error;
    auto absolute = std::filesystem::absolute(std::filesystem::path(path), error);
    if (error) {
        return Result::FileNotFound;
    }
    *out = {SourceKind::LocalFile, absolute.string()};
    return Result::Ok;
}

} // namespace audio
