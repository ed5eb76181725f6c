#include "PlaylistFiles.h"

#include "FileHandle.h"
#include "PathText.h"

#include <QSaveFile>

#include <algorithm>

namespace {

enum class UrlCase { Exact, Any };

// Calls `onLine` for every line of `contents`, without its line end.
template <typename OnLine> void forEachLine(std::string_view contents, OnLine onLine) {
    while (!contents.empty()) {
        const size_t end = contents.find_first_of("\r\n");
        const std::string_view line = contents.substr(0, end);
        const size_t nul = line.find('\0');
        onLine(nul == std::string_view::npos ? line : line.substr(0, nul));
        if (end == std::string_view::npos) {
            break;
        }
        const bool crlf =
            contents[end] == '\r' && end + 1 < contents.size() && contents[end + 1] == '\n';
        contents.remove_prefix(end + (crlf ? 2 : 1));
    }
}

std::string_view folderOf(std::string_view listPath) {
    const size_t slash = listPath.rfind('/');
    return slash == std::string_view::npos ? listPath : listPath.substr(0, slash);
}

// Turns one (not skipped) line into an entry by the classification in the header.
PlaylistEntry entryForLine(std::string_view line, std::string_view folder, UrlCase urlCase) {
    PlaylistEntry entry;
    const bool url = urlCase == UrlCase::Exact ? line.starts_with("http://")
                                               : pathtext::startsWithNoCase(line, "http://");
    if (pathtext::isAbsolutePath(line)) {
        const std::string slashed = pathtext::withForwardSlashes(line);
        entry.title = pathtext::trimmed(pathtext::afterLastSlash(slashed));
        entry.path = pathtext::trimmed(slashed);
    } else if (url) {
        entry.path = pathtext::trimmed(line);
        entry.title = entry.path;
    } else {
        std::string joined;
        joined.reserve(folder.size() + 1 + line.size());
        joined.append(folder).append("/").append(line);
        std::replace(joined.begin(), joined.end(), '\\', '/');
        entry.title = pathtext::trimmed(pathtext::afterLastSlash(joined));
        entry.path = pathtext::trimmed(joined);
    }
    return entry;
}

size_t lineCount(std::string_view contents) {
    size_t lines = 0;
    forEachLine(contents, [&lines](std::string_view) { ++lines; });
    return lines;
}

// Reads a whole regular file of at most MaxPlaylistFileBytes.
ListReadStatus readSmallFile(const std::string& path, std::string& contents) {
    if (!isRegularFile(path)) {
        return ListReadStatus::Unreadable;
    }
    FileHandle file = openFile(path, "rb");
    if (!file) {
        return ListReadStatus::Unreadable;
    }
    char buffer[65536];
    while (size_t got = std::fread(buffer, 1, sizeof buffer, file.get())) {
        if (static_cast<std::int64_t>(contents.size() + got) > MaxPlaylistFileBytes) {
            return ListReadStatus::TooLarge;
        }
        contents.append(buffer, got);
    }
    return std::ferror(file.get()) ? ListReadStatus::Unreadable : ListReadStatus::Ok;
}

template <typename Parse> ListRead readWith(const std::string& listPath, Parse parse) {
    ListRead result;
    std::string contents;
    result.status = readSmallFile(listPath, contents);
    if (result.status == ListReadStatus::Ok && lineCount(contents) > MaxPlaylistLines) {
        result.status = ListReadStatus::TooLarge;
    }
    if (result.status == ListReadStatus::Ok) {
        result.entries = parse(contents, listPath);
    }
    return result;
}

} // namespace

std::vector<PlaylistEntry> parseM3u(std::string_view contents, std::string_view listPath) {
    std::vector<PlaylistEntry> entries;
    const std::string_view folder = folderOf(listPath);
    forEachLine(contents, [&](std::string_view line) {
        if (pathtext::startsWithNoCase(line, "#EXTM3U") ||
            pathtext::startsWithNoCase(line, "#EXTINF")) {
            return;
        }
        entries.push_back(entryForLine(line, folder, UrlCase::Exact));
    });
    return entries;
}

std::vector<PlaylistEntry> parsePls(std::string_view contents, std::string_view listPath) {
    std::vector<PlaylistEntry> entries;
    const std::string_view folder = folderOf(listPath);
    forEachLine(contents, [&](std::string_view line) {
        if (!pathtext::startsWithNoCase(line, "File")) {
            return;
        }
        const size_t equals = line.find('=');
        const std::string_view value =
            equals == std::string_view::npos ? line : line.substr(equals + 1);
        entries.push_back(entryForLine(value, folder, UrlCase::Any));
    });
    return entries;
}

ListRead readM3u(const std::string& listPath) {
    return readWith(listPath, parseM3u);
}

ListRead readPls(const std::string& listPath) {
    return readWith(listPath, parsePls);
}

M3uWrite writeM3u(const QString& target, const std::vector<PlaylistEntry>& entries) {
    M3uWrite result;
    if (target.isEmpty()) {
        return result;
    }
    std::string text = "#EXTM3U\n";
    for (const PlaylistEntry& entry : entries) {
        if (entry.path.find_first_of(std::string_view("\n\r\0", 3)) != std::string::npos) {
            ++result.skippedEntries;
            continue;
        }
        text.append(entry.path).append("\n");
    }
    QSaveFile file(target);
    if (!file.open(QIODevice::WriteOnly)) {
        return result;
    }
    const auto size = static_cast<qint64>(text.size());
    result.written = file.write(text.data(), size) == size && file.commit();
    return result;
}
