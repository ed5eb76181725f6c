#include "ScriptedHttpServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tamberlo::test {

ScriptedHttpServer::ScriptedHttpServer(Script script) : script_(std::move(script)) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (listener_ < 0 || bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        listen(listener_, 8) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        pipe2(wake_, O_CLOEXEC) != 0) {
        return; // url() then names port 0, which refuses every connection
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { run(); });
}

ScriptedHttpServer::~ScriptedHttpServer() {
    stopping_ = true;
    if (wake_[1] >= 0) {
        const char byte = 0;
        (void)!write(wake_[1], &byte, 1);
    }
    if (thread_.joinable()) {
        thread_.join();
    }
    for (const int fd : {listener_, wake_[0], wake_[1]}) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

std::string ScriptedHttpServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

bool ScriptedHttpServer::pause(int ms) const {
    pollfd wake{wake_[0], POLLIN, 0};
    poll(&wake, 1, ms);
    return !stopping_;
}

void ScriptedHttpServer::run() {
    while (!stopping_) {
        pollfd fds[2] = {{listener_, POLLIN, 0}, {wake_[0], POLLIN, 0}};
        if (poll(fds, 2, -1) <= 0 || stopping_) {
            continue;
        }
        const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (client >= 0) {
            serve(client);
            close(client);
        }
    }
}

bool ScriptedHttpServer::sendAll(int client, const char* data, size_t size) {
    while (size > 0) {
        pollfd fds[2] = {{client, POLLOUT, 0}, {wake_[0], POLLIN, 0}};
        poll(fds, 2, -1);
        if (stopping_ || (fds[0].revents & (POLLERR | POLLHUP)) != 0) {
            return false;
        }
        const ssize_t sent = send(client, data, size, MSG_NOSIGNAL);
        if (sent < 0) {
            if (errno == EAGAIN || errno == EINTR) {
                continue;
            }
            return false;
        }
        bytesSent_ += sent;
        data += sent;
        size -= static_cast<size_t>(sent);
    }
    return true;
}

void ScriptedHttpServer::serve(int client) {
    // The request: everything up to the blank line that ends its headers.
    std::string request;
    while (request.find("\r\n\r\n") == std::string::npos && request.size() < 65536) {
        pollfd fds[2] = {{client, POLLIN, 0}, {wake_[0], POLLIN, 0}};
        poll(fds, 2, -1);
        if (stopping_) {
            return;
        }
        char buffer[4096];
        const ssize_t got = recv(client, buffer, sizeof buffer, 0);
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) {
            return;
        }
        if (got > 0) {
            request.append(buffer, static_cast<size_t>(got));
        }
    }
    if (!sendAll(client, script_.head.data(), script_.head.size())) {
        return;
    }
    const std::string& body = script_.body;
    for (int i = 0; !body.empty() && (script_.repeat < 0 || i < script_.repeat); ++i) {
        for (size_t at = 0; at < body.size(); at += script_.chunkBytes) {
            const size_t piece = std::min(script_.chunkBytes, body.size() - at);
            if (!sendAll(client, body.data() + at, piece) ||
                (script_.pauseMs > 0 && !pause(script_.pauseMs))) {
                return;
            }
        }
    }
    if (script_.hangUp) {
        return;
    }
    // Hold the connection until the client hangs up (or the server stops).
    for (;;) {
        pollfd fds[2] = {{client, POLLIN, 0}, {wake_[0], POLLIN, 0}};
        poll(fds, 2, -1);
        char buffer[4096];
        const ssize_t got = stopping_ ? 0 : recv(client, buffer, sizeof buffer, 0);
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) {
            return;
        }
    }
}

} // namespace tamberlo::test
