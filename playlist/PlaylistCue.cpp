#include "PlaylistCue.h"

#include "FileHandle.h"
#include "ListFileText.h"
#include "PathText.h"

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

#include <charconv>
#include <cstdint>
#include <optional>

namespace {

constexpr std::string_view Utf8Bom = "\xEF\xBB\xBF";
// FILE lines whose file is looked up on disk (missing ones are reported).
constexpr int MaxCheckedFiles = 64;

bool isUtf8(std::string_view text) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString ignored = utf8.decode(QByteArrayView(text.data(), std::ssize(text)));
    return !utf8.hasError();
}

// Sheets written by older rippers are often Latin-1; the playlist holds UTF-8 text.
std::string asUtf8(std::string_view text) {
    if (isUtf8(text)) {
        return std::string(text);
    }
    return QString::fromLatin1(text.data(), std::ssize(text)).toUtf8().toStdString();
}

// Splits off the first word (up to a space or tab); returns it and leaves the rest trimmed.
std::string_view takeWord(std::string_view& text) {
    const size_t end = std::min(text.find_first_of(" \t"), text.size());
    const std::string_view word = text.substr(0, end);
    text = pathtext::trimmed(text.substr(end));
    return word;
}

// A quoted value up to its last quote (an unclosed one runs to the end), else the whole text.
std::string_view valueOf(std::string_view rest) {
    if (!rest.starts_with('"')) {
        return rest;
    }
    rest.remove_prefix(1);
    const size_t close = rest.rfind('"');
    return close == std::string_view::npos ? rest : rest.substr(0, close);
}

// FILE's name: quoted, or unquoted with the file type as the last word.
std::string_view fileNameOf(std::string_view rest) {
    if (rest.starts_with('"')) {
        return valueOf(rest);
    }
    const size_t lastSpace = rest.find_last_of(" \t");
    return lastSpace == std::string_view::npos ? rest
                                               : pathtext::trimmed(rest.substr(0, lastSpace));
}

std::optional<std::uint64_t> number(std::string_view digits, size_t maxDigits) {
    std::uint64_t value = 0;
    if (digits.empty() || digits.size() > maxDigits) {
        return std::nullopt;
    }
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    return value;
}

// "mm:ss:ff" (75 frames per second) in milliseconds, rounded; nothing for a malformed time or
// one that does not fit below the unknown-length value.
std::optional<std::uint32_t> cueTimeMs(std::string_view text) {
    const size_t first = text.find(':');
    const size_t second = first == std::string_view::npos ? first : text.find(':', first + 1);
    if (second == std::string_view::npos) {
        return std::nullopt;
    }
    const auto minutes = number(text.substr(0, first), 7);
    const auto seconds = number(text.substr(first + 1, second - first - 1), 2);
    const auto frames = number(text.substr(second + 1), 2);
    if (!minutes || !seconds || !frames || *seconds >= 60 || *frames >= 75) {
        return std::nullopt;
    }
    const std::uint64_t ms = (*minutes * 60 + *seconds) * 1000 + (*frames * 40 + 1) / 3;
    if (ms >= PlaylistEntry::UnknownLength) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(ms);
}

struct CueTrack {
    unsigned number = 0;
    bool audio = false;
    std::string performer;
    std::string title;
    std::optional<std::uint32_t> startMs; // INDEX 01
    std::string file;                     // the FILE in effect at INDEX 01
};

// Turns a sheet's lines into entries (see the rules in PlaylistCue.h). A track is complete at
// the next TRACK line or the sheet's end; its end is known once the next track has its start.
class CueParser {
public:
    CueParser(std::string_view sheetPath, ListRoom room, ListRead& out)
        : sheetPath_(sheetPath), folder_(pathtext::listFolder(sheetPath)), room_(room), out_(out) {}

    bool operator()(std::string_view line, bool overlong) {
        if (firstLine_) {
            firstLine_ = false;
            if (line.starts_with(Utf8Bom)) {
                line.remove_prefix(Utf8Bom.size());
            }
        }
        std::string_view rest = pathtext::trimmed(line);
        const std::string_view keyword = takeWord(rest);
        if (pathtext::equalNoCase(keyword, "FILE")) {
            file_.reset();
            if (overlong) {
                ++out_.overlongLines; // its tracks have no file and are left out
                return true;
            }
            file_ = filePath(fileNameOf(rest));
            return true;
        }
        if (pathtext::equalNoCase(keyword, "TRACK")) {
            const bool go = closeTrack();
            const std::string_view digits = takeWord(rest);
            const auto trackNumber = number(digits, 9);
            track_ = CueTrack{};
            track_->number = static_cast<unsigned>(trackNumber.value_or(0));
            track_->audio =
                trackNumber.has_value() && pathtext::equalNoCase(takeWord(rest), "AUDIO");
            badTrack_ = !trackNumber.has_value();
            return go;
        }
        if (pathtext::equalNoCase(keyword, "INDEX") && track_ && !track_->startMs) {
            const auto index = number(takeWord(rest), 2);
            if (index == 1u) {
                const auto start = cueTimeMs(takeWord(rest));
                badTrack_ = badTrack_ || !start || !file_;
                if (!badTrack_) {
                    track_->startMs = start;
                    track_->file = *file_;
                }
            }
            return true;
        }
        const bool performer = pathtext::equalNoCase(keyword, "PERFORMER");
        if (performer || pathtext::equalNoCase(keyword, "TITLE")) {
            std::string value = asUtf8(valueOf(rest));
            if (track_) {
                (performer ? track_->performer : track_->title) = std::move(value);
            } else if (performer) {
                sheetPerformer_ = std::move(value);
            }
        }
        return true;
    }

    // At the sheet's end: the last tracks, then the problems for the log.
    void finish() {
        if (!out_.full && closeTrack() && previous_) {
            addTrack(*previous_, 0);
        }
        if (leftOut_ > 0) {
            out_.problems.push_back(std::to_string(leftOut_) +
                                    " track(s) without a FILE, a valid INDEX 01 or any length "
                                    "left out");
        }
        if (missingFiles_ > 0) {
            out_.problems.push_back(std::to_string(missingFiles_) + " FILE(s) not found (first '" +
                                    firstMissingFile_ + "'); their tracks will fail to play");
        }
    }

private:
    std::string filePath(std::string_view name) {
        std::string path = pathtext::isAbsolutePath(name)
                               ? pathtext::withForwardSlashes(name)
                               : std::string(folder_) + "/" + pathtext::withForwardSlashes(name);
        // Only the first files are looked up, so a sheet of endless FILE lines reads as fast
        // as any list.
        const bool check = checkedFiles_ < MaxCheckedFiles;
        checkedFiles_ += check ? 1 : 0;
        // A Latin-1 name may still be how the file is stored: the bytes as they are win.
        if (!isUtf8(path) && !(check && isRegularFile(path))) {
            path = asUtf8(path);
        }
        if (check && !isRegularFile(path) && path.size() <= MaxPathBytes) {
            if (missingFiles_++ == 0) {
                firstMissingFile_ = path;
            }
        }
        return path;
    }

    // Completes the track being read; the one before it ends where this one starts when both
    // lie in the same file. Returns false when the room is used up.
    bool closeTrack() {
        if (!track_) {
            return true;
        }
        CueTrack track = std::move(*track_);
        track_.reset();
        if (!track.startMs) {
            leftOut_ += (track.audio || badTrack_) ? 1 : 0;
            return true;
        }
        bool go = true;
        if (previous_) {
            const bool sameFile = previous_->file == track.file;
            go = addTrack(*previous_, sameFile ? *track.startMs : 0);
        }
        previous_ = std::move(track);
        return go;
    }

    bool addTrack(const CueTrack& track, std::uint32_t endMs) {
        if (!track.audio) {
            return true;
        }
        if (endMs != 0 && endMs <= *track.startMs) {
            ++leftOut_; // the next track starts before this one: nothing to play
            return true;
        }
        const std::string& performer = track.performer.empty() ? sheetPerformer_ : track.performer;
        std::string title =
            track.title.empty() ? "Track " + std::to_string(track.number) : track.title;
        PlaylistEntry entry;
        entry.title = performer.empty() ? std::move(title) : performer + " - " + title;
        entry.path = cueTrackPath(sheetPath_, track.number);
        entry.trackFile = track.file;
        entry.trackStartMs = *track.startMs;
        entry.trackEndMs = endMs;
        return addWithinRoom(std::move(entry), room_, out_);
    }

    std::string_view sheetPath_;
    std::string_view folder_;
    ListRoom room_;
    ListRead& out_;
    bool firstLine_ = true;
    // The FILE in effect; none before the first or after an overlong one.
    std::optional<std::string> file_;
    int checkedFiles_ = 0; // FILE lines looked up on disk
    std::string sheetPerformer_;
    std::optional<CueTrack> track_;    // being read
    bool badTrack_ = false;            // track_ has a bad number or INDEX 01
    std::optional<CueTrack> previous_; // has its start, waits for its end
    int leftOut_ = 0;
    int missingFiles_ = 0;
    std::string firstMissingFile_;
};

} // namespace

ListRead readCue(const std::string& sheetPath, ListRoom room) {
    ListRead result;
    CueParser parser(sheetPath, room, result);
    readListLines(sheetPath, parser, result);
    if (result.status == ListReadStatus::Ok) {
        parser.finish();
    }
    return result;
}

ListRead parseCue(std::string_view contents, std::string_view sheetPath) {
    ListRead result;
    CueParser parser(sheetPath, ListRoom{SIZE_MAX, INT64_MAX}, result);
    LineSplitter lines;
    lines.feed(contents, parser);
    lines.finish(parser);
    parser.finish();
    result.status = ListReadStatus::Ok;
    return result;
}
