#include "PlaylistFiles.h"

#include "FileHandle.h"
#include "PathText.h"

#include <QSaveFile>

#include <algorithm>
#include <sys/stat.h>

namespace {

enum class ListKind { M3u, Pls };

// Cuts bytes that arrive in pieces into lines by the rules in the header. Of each line only the
// text before a NUL and at most MaxPathBytes bytes of it are kept; a longer line is marked.
// onLine(text, overlong) returns false to stop.
class LineSplitter {
public:
    template <typename OnLine> bool feed(std::string_view bytes, OnLine& onLine) {
        size_t at = 0;
        while (at < bytes.size()) {
            const char c = bytes[at];
            if (afterCr_) {
                afterCr_ = false;
                if (c == '\n') { // the second half of "\r\n"
                    ++at;
                    continue;
                }
            }
            if (c == '\n' || c == '\r') {
                afterCr_ = c == '\r';
                ++at;
                if (!endLine(onLine)) {
                    return false;
                }
                continue;
            }
            const size_t end = std::min(bytes.find_first_of("\r\n", at), bytes.size());
            append(bytes.substr(at, end - at));
            at = end;
        }
        return true;
    }

    // The text after the last line end, if there is any.
    template <typename OnLine> void finish(OnLine& onLine) {
        if (started_) {
            endLine(onLine);
        }
    }

private:
    void append(std::string_view piece) {
        started_ = true;
        if (cut_) {
            return;
        }
        const size_t nul = piece.find('\0');
        if (nul != std::string_view::npos) {
            piece = piece.substr(0, nul);
            cut_ = true;
        }
        const size_t room = MaxPathBytes - line_.size();
        if (piece.size() > room) {
            overlong_ = true;
            piece = piece.substr(0, room); // the start still tells a comment line
        }
        line_.append(piece);
    }

    template <typename OnLine> bool endLine(OnLine& onLine) {
        const bool go = onLine(std::string_view(line_), overlong_);
        line_.clear();
        started_ = cut_ = overlong_ = false;
        return go;
    }

    std::string line_;
    bool started_ = false;  // bytes of the current line have been seen
    bool cut_ = false;      // a NUL ended the current line's text
    bool overlong_ = false; // the current line is longer than MaxPathBytes
    bool afterCr_ = false;  // the last byte seen was '\r'
};

std::string_view folderOf(std::string_view listPath) {
    const size_t slash = listPath.rfind('/');
    return slash == std::string_view::npos ? listPath : listPath.substr(0, slash);
}

// Turns one (not skipped) line into an entry by the classification in the header.
PlaylistEntry entryForLine(std::string_view line, std::string_view folder, ListKind kind) {
    PlaylistEntry entry;
    const bool url = kind == ListKind::M3u ? line.starts_with("http://")
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

// Turns the lines of one list into entries until the room is used up.
class ListParser {
public:
    ListParser(ListKind kind, std::string_view listPath, ListRoom room, ListRead& out)
        : kind_(kind), folder_(folderOf(listPath)), room_(room), out_(out) {}

    bool operator()(std::string_view line, bool overlong) {
        std::string_view value = line;
        if (kind_ == ListKind::M3u) {
            if (pathtext::startsWithNoCase(line, "#EXTM3U") ||
                pathtext::startsWithNoCase(line, "#EXTINF")) {
                return true;
            }
        } else {
            if (!pathtext::startsWithNoCase(line, "File")) {
                return true;
            }
            const size_t equals = line.find('=');
            value = equals == std::string_view::npos ? line : line.substr(equals + 1);
        }
        if (overlong) {
            ++out_.overlongLines;
            return true;
        }
        PlaylistEntry entry = entryForLine(value, folder_, kind_);
        if (entry.path.size() > MaxPathBytes) { // the list's folder made it too long
            ++out_.overlongLines;
            return true;
        }
        const auto pathBytes = static_cast<std::int64_t>(entry.path.size());
        if (out_.entries.size() >= room_.entries || pathBytes > room_.pathBytes) {
            out_.full = true;
            return false;
        }
        room_.pathBytes -= pathBytes;
        out_.entries.push_back(std::move(entry));
        return true;
    }

private:
    ListKind kind_;
    std::string_view folder_;
    ListRoom room_;
    ListRead& out_;
};

std::vector<PlaylistEntry> parseList(std::string_view contents, std::string_view listPath,
                                     ListKind kind) {
    ListRead read;
    ListParser parser(kind, listPath, ListRoom{SIZE_MAX, INT64_MAX}, read);
    LineSplitter lines;
    lines.feed(contents, parser);
    lines.finish(parser);
    return std::move(read.entries);
}

ListRead readList(const std::string& listPath, ListKind kind, ListRoom room) {
    ListRead result;
    if (!isRegularFile(listPath)) {
        return result;
    }
    FileHandle file = openFile(listPath, "rb");
    struct stat info {};
    if (!file || ::fstat(::fileno(file.get()), &info) != 0) {
        return result;
    }
    if (info.st_size > MaxPlaylistFileBytes) {
        result.status = ListReadStatus::TooLarge;
        return result;
    }
    ListParser parser(kind, listPath, room, result);
    LineSplitter lines;
    std::int64_t total = 0;
    bool more = true;
    char buffer[65536];
    while (more) {
        const size_t got = std::fread(buffer, 1, sizeof buffer, file.get());
        if (got == 0) {
            break;
        }
        total += static_cast<std::int64_t>(got);
        if (total > MaxPlaylistFileBytes) { // it grew while being read
            return ListRead{ListReadStatus::TooLarge, {}, 0, false};
        }
        more = lines.feed(std::string_view(buffer, got), parser);
    }
    if (std::ferror(file.get())) {
        return ListRead{};
    }
    if (more) {
        lines.finish(parser);
    }
    result.status = ListReadStatus::Ok;
    return result;
}

} // namespace

std::vector<PlaylistEntry> parseM3u(std::string_view contents, std::string_view listPath) {
    return parseList(contents, listPath, ListKind::M3u);
}

std::vector<PlaylistEntry> parsePls(std::string_view contents, std::string_view listPath) {
    return parseList(contents, listPath, ListKind::Pls);
}

ListRead readM3u(const std::string& listPath, ListRoom room) {
    return readList(listPath, ListKind::M3u, room);
}

ListRead readPls(const std::string& listPath, ListRoom room) {
    return readList(listPath, ListKind::Pls, room);
}

M3uWrite writeM3u(const QString& target, const std::vector<PlaylistEntry>& entries) {
    M3uWrite result;
    if (target.isEmpty()) {
        return result;
    }
    QSaveFile file(target);
    if (!file.open(QIODevice::WriteOnly)) {
        return result;
    }
    // Written in pieces, so a long list never needs a second copy of all its paths.
    constexpr size_t PieceBytes = 1 << 20;
    std::string piece = "#EXTM3U\n";
    bool ok = true;
    const auto writePiece = [&] {
        const auto size = static_cast<qint64>(piece.size());
        ok = ok && file.write(piece.data(), size) == size;
        piece.clear();
    };
    for (const PlaylistEntry& entry : entries) {
        if (entry.path.find_first_of(std::string_view("\n\r\0", 3)) != std::string::npos) {
            ++result.skippedEntries;
            continue;
        }
        piece.append(entry.path).append("\n");
        if (piece.size() >= PieceBytes) {
            writePiece();
        }
    }
    writePiece();
    result.written = ok && file.commit();
    return result;
}
