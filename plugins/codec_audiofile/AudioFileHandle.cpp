#include "AudioFileHandle.h"

#include <af_vfs.h>

#include <algorithm>
#include <cstring>
#include <mutex>

namespace audiofile_codec {

namespace {

MemoryCursor& cursorOf(AFvirtualfile* file) {
    return *static_cast<MemoryCursor*>(file->closure);
}

ssize_t readBytes(AFvirtualfile* file, void* out, size_t bytes) {
    MemoryCursor& cursor = cursorOf(file);
    if (cursor.position >= cursor.data.size()) {
        return 0;
    }
    const size_t count =
        static_cast<size_t>(std::min<uint64_t>(bytes, cursor.data.size() - cursor.position));
    std::memcpy(out, cursor.data.data() + cursor.position, count);
    cursor.position += count;
    return static_cast<ssize_t>(count);
}

AFfileoffset lengthOf(AFvirtualfile* file) {
    return static_cast<AFfileoffset>(cursorOf(file).data.size());
}

ssize_t refuseWrite(AFvirtualfile*, const void*, size_t) {
    return -1;
}

// The cursor belongs to the codec, so there is nothing to free here.
void keepCursor(AFvirtualfile*) {}

AFfileoffset seekTo(AFvirtualfile* file, AFfileoffset offset, int isRelative) {
    MemoryCursor& cursor = cursorOf(file);
    const int64_t base = isRelative ? static_cast<int64_t>(cursor.position) : 0;
    // Offsets come from the file's headers: refuse targets outside the block, so that a broken
    // header ends parsing instead of reading nothing from far beyond the end.
    if (offset < -base || offset > static_cast<int64_t>(cursor.data.size()) - base) {
        return -1;
    }
    cursor.position = static_cast<uint64_t>(base + offset);
    return static_cast<AFfileoffset>(cursor.position);
}

AFfileoffset tellOf(AFvirtualfile* file) {
    return static_cast<AFfileoffset>(cursorOf(file).position);
}

// libaudiofile reports every error of a file it does not recognise on stderr by default.
void ignoreError(long, const char*) {}

} // namespace

FileHandle openMemoryAudioFile(MemoryCursor& cursor) {
    static std::once_flag quiet;
    std::call_once(quiet, [] { afSetErrorHandler(ignoreError); });

    AFvirtualfile* file = af_virtual_file_new();
    if (file == nullptr) {
        return nullptr;
    }
    file->read = readBytes;
    file->length = lengthOf;
    file->write = refuseWrite;
    file->destroy = keepCursor;
    file->seek = seekTo;
    file->tell = tellOf;
    file->closure = &cursor;
    cursor.position = 0;
    // The handle owns the virtual file from here on, also when opening fails.
    return FileHandle(afOpenVirtualFile(file, "r", AF_NULL_FILESETUP));
}

} // namespace audiofile_codec
