// tamberlo-codec-host PLUGIN FILE SUBSONG START_FRAME: decodes FILE with the codec plug-in
// PLUGIN and writes a header and the frames to standard output (see CodecHostProtocol.h). The
// player runs it as a child process for formats whose library may crash or hang on a damaged
// file, so that only this process goes down. Exit status 0 after the last frame, one of
// codec_host::ExitCode otherwise.
#include "CodecHostProtocol.h"
#include "LoadedPlugin.h"
#include "PluginRegistry.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <string_view>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace host = audio::codec_host;

// CPU seconds the host may use in all: far more than decoding any song takes, but an orphan
// whose library loops for ever (the player gone) still ends.
constexpr rlim_t MaxCpuSeconds = 600;
// Address space: a damaged file can make a library allocate without bound.
constexpr rlim_t MaxAddressBytes = rlim_t{1} << 30;
constexpr size_t FramesPerWrite = 4096;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool AddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool AddressSanitizer = true;
#else
constexpr bool AddressSanitizer = false;
#endif
#else
constexpr bool AddressSanitizer = false;
#endif

void limitResources() {
    const rlimit cpu{MaxCpuSeconds, MaxCpuSeconds + 5};
    setrlimit(RLIMIT_CPU, &cpu);
    // The sanitizer's shadow memory alone reserves terabytes of address space.
    if (!AddressSanitizer) {
        const rlimit address{MaxAddressBytes, MaxAddressBytes};
        setrlimit(RLIMIT_AS, &address);
    }
}

// Ends the host as soon as nobody reads its output any more: a player that died, or one that
// closed the pipe while the plug-in is stuck in a loop that never reaches the next write. poll
// with no events asked for still reports the error state of a pipe without readers.
void exitWhenTheReaderLeaves() {
    std::thread([] {
        pollfd output{STDOUT_FILENO, 0, 0};
        while (poll(&output, 1, -1) < 0 && errno == EINTR) {
        }
        _exit(host::ExitWriteFailed);
    }).detach();
}

template <class Number> bool parse(std::string_view text, Number* value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value);
    return error == std::errc{} && end == text.data() + text.size();
}

bool writeAll(const void* data, size_t size) {
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = write(STDOUT_FILENO, bytes, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

// Owns a plug-in handle.
class OpenFile {
public:
    OpenFile(const TamberloCodecTable& table, const char* path) : table_(table) {
        if (table.open_path != nullptr) {
            handle_ = table.open_path(path);
            return;
        }
        // A plug-in that only decodes memory gets the whole file.
        std::ifstream file(path, std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(file), {});
        if (file.good() || file.eof()) {
            handle_ =
                table.open_memory(reinterpret_cast<const uint8_t*>(bytes_.data()), bytes_.size());
        }
    }
    ~OpenFile() {
        if (handle_ != nullptr) {
            table_.close(handle_);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    void* handle() const { return handle_; }

private:
    const TamberloCodecTable& table_;
    std::vector<char> bytes_; // must outlive handle_
    void* handle_ = nullptr;
};

int decode(const TamberloCodecTable& table, const char* path, int32_t subsong,
           uint64_t startFrame) {
    OpenFile file(table, path);
    if (file.handle() == nullptr) {
        return host::ExitOpenFailed;
    }
    if (subsong != 0 &&
        (table.select_subsong == nullptr || table.select_subsong(file.handle(), subsong) != 0)) {
        return host::ExitSubsongFailed;
    }
    if (startFrame != 0 && (table.seek == nullptr || table.seek(file.handle(), startFrame) != 0)) {
        return host::ExitSeekFailed;
    }
    TamberloCodecInfo info{};
    if (table.get_info(file.handle(), &info) != 0 || (info.channels != 1 && info.channels != 2)) {
        return host::ExitBadInfo;
    }
    host::Header header{};
    std::memcpy(header.magic, host::Magic, sizeof header.magic);
    header.sampleRate = info.sample_rate;
    header.channels = info.channels;
    header.lengthFrames = info.length_frames;
    header.subsongCount = info.subsong_count;
    std::memcpy(header.formatName, info.format_name, sizeof header.formatName);
    header.formatName[sizeof header.formatName - 1] = '\0';
    if (!writeAll(&header, sizeof header)) {
        return host::ExitWriteFailed;
    }
    const auto channels = static_cast<size_t>(info.channels);
    std::vector<float> frames(FramesPerWrite * channels);
    for (;;) {
        const size_t got =
            std::min(FramesPerWrite, table.read(file.handle(), frames.data(), FramesPerWrite));
        if (got == 0) {
            return 0;
        }
        if (!writeAll(frames.data(), got * channels * sizeof(float))) {
            return host::ExitWriteFailed;
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    // The player closes the pipe to stop the host: writes then fail instead of killing it.
    std::signal(SIGPIPE, SIG_IGN);
    limitResources();
    exitWhenTheReaderLeaves();
    int32_t subsong = 0;
    uint64_t startFrame = 0;
    if (argc != 5 || !parse(argv[3], &subsong) || subsong < 0 || !parse(argv[4], &startFrame)) {
        return host::ExitUsage;
    }
    audio::PluginRegistry registry;
    if (registry.load(argv[1]) != audio::Result::Ok) {
        return host::ExitPluginUnusable;
    }
    return decode(registry.plugins().front()->table(), argv[2], subsong, startFrame);
}
