#include "PlaylistFiles.h"

#include "ListFileText.h"
#include "PathText.h"

#include <QSaveFile>

#include <algorithm>

namespace {

enum class ListKind { M3u, Pls };

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
        : kind_(kind), folder_(pathtext::listFolder(listPath)), room_(room), out_(out) {}

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
        // The list's folder may make the path too long: addWithinRoom counts it as overlong.
        return addWithinRoom(entryForLine(value, folder_, kind_), room_, out_);
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
    ListParser parser(kind, listPath, room, result);
    readListLines(listPath, parser, result);
    return result;
}

} // namespace

bool addWithinRoom(PlaylistEntry&& entry, ListRoom& room, ListRead& out) {
    if (entry.path.size() > MaxPathBytes || entry.trackFile.size() > MaxPathBytes) {
        ++out.overlongLines;
        return true;
    }
    const auto bytes = static_cast<std::int64_t>(pathBytesOf(entry));
    if (out.entries.size() >= room.entries || bytes > room.pathBytes) {
        out.full = true;
        return false;
    }
    room.pathBytes -= bytes;
    out.entries.push_back(std::move(entry));
    return true;
}

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
