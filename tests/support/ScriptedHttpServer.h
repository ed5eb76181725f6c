#pragma once
// An HTTP server on 127.0.0.1 that answers every request in one scripted way: the ways a broken
// or hostile radio server behaves (no answer, headers without end, an error status, a redirect
// to itself, a stream that trickles in, a body without end). Connections are served one after
// the other on the server's own thread, over real sockets.
//
// Threading: construct, query and destroy on the test thread; serving runs on its own thread.

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

namespace tamberlo::test {

class ScriptedHttpServer {
public:
    struct Script {
        std::string head{}; // sent first, as it stands, once the request has arrived
        std::string body{}; // then sent `repeat` times; -1 repeats until the client hangs up
        int repeat = 1;
        size_t chunkBytes = 1 << 16; // the body goes out in pieces of at most this size,
        int pauseMs = 0;             // with this pause after each piece
        bool hangUp = false; // close once everything is sent (else wait for the client to go)
    };

    explicit ScriptedHttpServer(Script script);
    ~ScriptedHttpServer();
    ScriptedHttpServer(const ScriptedHttpServer&) = delete;
    ScriptedHttpServer& operator=(const ScriptedHttpServer&) = delete;

    // "http://127.0.0.1:PORT" + path.
    std::string url(const std::string& path) const;
    // Bytes written to all clients so far.
    int64_t bytesSent() const { return bytesSent_.load(); }

private:
    void run();
    void serve(int client);
    // Sends all of `data`; false when the client went away or the server is stopping.
    bool sendAll(int client, const char* data, size_t size);
    // Waits up to `ms` or until the server stops; false when stopping.
    bool pause(int ms) const;

    Script script_;
    int listener_ = -1;
    int wake_[2] = {-1, -1}; // a pipe whose read end turns readable when the server stops
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    std::atomic<int64_t> bytesSent_{0};
    std::thread thread_;
};

} // namespace tamberlo::test
