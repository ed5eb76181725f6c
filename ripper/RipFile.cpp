#include "RipFile.h"

#include "CFile.h"
#include "RipState.h"
#include "Scan.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {
struct FreeDeleter {
    void operator()(std::uint8_t* block) const { std::free(block); }
};

// Opens `path` for reading without blocking on a named pipe. Only regular files are read;
// *notRegular tells when the path opened but names something else.
CFile openInput(const char* path, bool* notRegular) {
    *notRegular = false;
    const int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        return CFile();
    struct stat info {};
    *notRegular = ::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode);
    CFile file(*notRegular ? nullptr : ::fdopen(fd, "rb"));
    if (!file)
        ::close(fd);
    return file;
}
} // namespace

std::int32_t fileSize(const char* path) {
    struct stat info {};
    if (stat(path, &info) != 0)
        return 0;
    if (info.st_size > std::numeric_limits<std::int32_t>::max())
        return std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(info.st_size);
}

std::int32_t ripFile(int argumentCount, const char* path) {
    std::printf("\n\n-<([ Flazefla v1.62 ])>-\n\n");
    if (argumentCount != 2) {
        std::printf("%s <data file>\n", path);
        std::printf("Check for the documentation for more info !\n");
        return -1;
    }
    bool notRegular = false;
    CFile in = openInput(path, &notRegular);
    if (!in) {
        if (notRegular)
            std::printf("! \"%s\" is not a regular file ...\n", path);
        else
            std::printf("cant find \"%s\" !\n", path);
        return -1;
    }
    RipState& state = ripState();
    loadExtensionTable(state.extensions);

    const std::int32_t fullSize = fileSize(path);
    std::rewind(in.get());
    std::printf("input file size : %ld\n", static_cast<long>(fullSize));
    if (fullSize < 64) {
        std::printf("! input file size is too small ...\n");
        return -1;
    }
    const std::int32_t size = std::min(fullSize, MaxScanBytes);
    if (size < fullSize)
        std::printf("! only the first %ld bytes are scanned ...\n", static_cast<long>(size));
    // Zeroed, so a file that shrank since its directory entry was read scans as zeros.
    std::unique_ptr<std::uint8_t, FreeDeleter> buffer(
        static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(size), 1)));
    if (!buffer) {
        std::perror("Couldn't allocate memory");
        return -1;
    }
    const std::size_t read = std::fread(buffer.get(), 1, static_cast<std::size_t>(size), in.get());
    (void)read;
    in.reset();

    ripBuffer(buffer.get(), size);
    buffer.reset();
    std::printf("\n");
    return std::printf("-<([ Tamberlo module ripper: scan complete ])>-\n");
}
