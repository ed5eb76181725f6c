#include "ListFileText.h"

#include "FileHandle.h"

#include <cstdint>
#include <sys/stat.h>

ListReadStatus readListPieces(const std::string& listPath,
                              const std::function<bool(std::string_view)>& onPiece) {
    if (!isRegularFile(listPath)) {
        return ListReadStatus::Unreadable;
    }
    FileHandle file = openFile(listPath, "rb");
    struct stat info {};
    if (!file || ::fstat(::fileno(file.get()), &info) != 0) {
        return ListReadStatus::Unreadable;
    }
    if (info.st_size > MaxPlaylistFileBytes) {
        return ListReadStatus::TooLarge;
    }
    std::int64_t total = 0;
    char buffer[65536];
    for (;;) {
        const size_t got = std::fread(buffer, 1, sizeof buffer, file.get());
        if (got == 0) {
            break;
        }
        total += static_cast<std::int64_t>(got);
        if (total > MaxPlaylistFileBytes) { // it grew while being read
            return ListReadStatus::TooLarge;
        }
        if (!onPiece(std::string_view(buffer, got))) {
            return ListReadStatus::Ok;
        }
    }
    return std::ferror(file.get()) ? ListReadStatus::Unreadable : ListReadStatus::Ok;
}
