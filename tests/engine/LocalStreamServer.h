#pragma once
// A tiny HTTP server on 127.0.0.1 that sends a file over and over without a length, the way an
// internet radio station streams: every request gets "200 OK" and an endless body. It serves
// until destroyed; each connection ends when the client closes it or after 30 s.
//
// Threading: construct and destroy on the test thread; it serves on its own threads.

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace enginetest {

class LocalStreamServer {
public:
    LocalStreamServer(std::vector<uint8_t> body, std::string contentType);
    ~LocalStreamServer();
    LocalStreamServer(const LocalStreamServer&) = delete;
    LocalStreamServer& operator=(const LocalStreamServer&) = delete;

    // "http://127.0.0.1:PORT/stream"; empty when the socket could not be opened.
    std::string url() const;

private:
    void acceptLoop();
    void serve(int client);

    std::vector<uint8_t> body_;
    std::string contentType_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    std::thread acceptor_;
    std::vector<std::thread> connections_;
};

} // namespace enginetest
