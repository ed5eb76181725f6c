#pragma once
// Reading a list file's text: the file in pieces within the size limit, and the pieces cut into
// lines by the rules of PlaylistFiles.h. Shared by the M3U, PLS, CUE and XSPF readers.
//
// Threading: plain objects and functions; one thread per object.

#include "PlaylistFiles.h"
#include "PlaylistLimits.h"

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>

// Hands the regular file `listPath` to onPiece in pieces of at most 64 KiB, in order, until the
// file ends or onPiece returns false. Returns Ok, Unreadable (missing, not a regular file, read
// error) or TooLarge (over MaxPlaylistFileBytes, also when it grows past it while being read).
// The reader discards what it made from the pieces unless the result is Ok.
ListReadStatus readListPieces(const std::string& listPath,
                              const std::function<bool(std::string_view)>& onPiece);

// Cuts bytes that arrive in pieces into lines by the rules in PlaylistFiles.h. Of each line only
// the text before a NUL and at most MaxPathBytes bytes of it are kept; a longer line is marked.
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

// Reads the list file at `listPath` line by line into `out` (see readListPieces): onLine as for
// LineSplitter. On success out.status is Ok and the entries onLine added stay; otherwise out
// holds only the failed status.
template <typename OnLine>
void readListLines(const std::string& listPath, OnLine& onLine, ListRead& out) {
    LineSplitter lines;
    bool more = true;
    const ListReadStatus status = readListPieces(listPath, [&](std::string_view piece) {
        more = lines.feed(piece, onLine);
        return more;
    });
    if (status != ListReadStatus::Ok) {
        out = ListRead{status, {}, 0, false, {}};
        return;
    }
    if (more) {
        lines.finish(onLine);
    }
    out.status = ListReadStatus::Ok;
}
