#pragma once
// A real Icecast server on 127.0.0.1 for stream tests, on a free port, with its own config and
// log folder, fed by the ffmpeg command. Everything it starts is killed when it goes away.
//
// Threading: one thread at a time (a test may restart the source from a helper thread while
// its own thread reads the stream).

#include "ChildProcess.h"

#include <filesystem>
#include <memory>
#include <string>

namespace tamberlo::test {

class IcecastServer {
public:
    // Starts icecast2 (as its own user when run as root, which it requires) and waits up to
    // 10 s for its port; started() tells whether it came up.
    IcecastServer();
    ~IcecastServer();
    IcecastServer(const IcecastServer&) = delete;
    IcecastServer& operator=(const IcecastServer&) = delete;

    bool started() const { return started_; }
    int port() const { return port_; }
    // "http://127.0.0.1:PORT/MOUNT".
    std::string url(const std::string& mount) const;

    // Streams `file` in real time, looping, to `mount` with the given ffmpeg output format
    // ("mp3", "ogg") and content type. Replaces an earlier source.
    void feed(const std::string& file, const std::string& format, const std::string& contentType,
              const std::string& mount);
    void stopFeeding() { source_.reset(); }
    // True once a listener's request for `mount` is answered with 200 (the source is on air),
    // polling up to `timeoutMs`.
    bool waitForMount(const std::string& mount, int timeoutMs) const;
    // Sets the StreamTitle that listeners of `mount` receive in the stream, as a source client
    // does (the admin metadata update). True when the server accepted it; the mount must be on
    // air.
    bool setStreamTitle(const std::string& mount, const std::string& title) const;
    // Ends the server abruptly (SIGKILL), as a crashed or unplugged radio.
    void kill();

private:
    // Sends `request` to the server and returns the start of its answer ("" when none).
    std::string ask(const std::string& request) const;

    int port_ = 0;
    bool started_ = false;
    std::filesystem::path folder_;
    std::unique_ptr<ChildProcess> server_;
    std::unique_ptr<ChildProcess> source_;
};

} // namespace tamberlo::test
