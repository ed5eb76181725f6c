#include "PathText.h"

#include <algorithm>

namespace pathtext {

namespace {

bool isAsciiSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

char asciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

std::string withForwardSlashes(std::string_view text) {
    std::string out(text);
    std::replace(out.begin(), out.end(), '\\', '/');
    return out;
}

std::string_view afterLastSlash(std::string_view text) {
    const size_t slash = text.rfind('/');
    return slash == std::string_view::npos ? text : text.substr(slash + 1);
}

std::string_view listFolder(std::string_view listPath) {
    const size_t slash = listPath.rfind('/');
    return slash == std::string_view::npos ? listPath : listPath.substr(0, slash);
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isAsciiSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isAsciiSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool equalNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return asciiLower(x) == asciiLower(y);
           });
}

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && equalNoCase(text.substr(0, prefix.size()), prefix);
}

bool endsWithNoCase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           equalNoCase(text.substr(text.size() - suffix.size()), suffix);
}

bool isAbsolutePath(std::string_view text) {
    if (text.empty()) {
        return false;
    }
    if (text[0] == '/' || text[0] == '\\') {
        return true;
    }
    const char c = asciiLower(text[0]);
    return text.size() >= 2 && c >= 'a' && c <= 'z' && text[1] == ':';
}

bool isHttpUrl(std::string_view path) {
    return startsWithNoCase(path, "http://") || startsWithNoCase(path, "https://");
}

} // namespace pathtext
