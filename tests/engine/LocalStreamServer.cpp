#include "LocalStreamServer.h"

#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace enginetest {

LocalStreamServer::LocalStreamServer(std::vector<uint8_t> body, std::string contentType)
    : body_(std::move(body)), contentType_(std::move(contentType)) {
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (listener_ < 0 || body_.empty() ||
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(listener_, 8) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        return;
    }
    port_ = ntohs(address.sin_port);
    acceptor_ = std::thread([this] { acceptLoop(); });
}

LocalStreamServer::~LocalStreamServer() {
    stopping_ = true;
    if (acceptor_.joinable()) {
        acceptor_.join();
    }
    for (std::thread& connection : connections_) {
        connection.join();
    }
    if (listener_ >= 0) {
        ::close(listener_);
    }
}

std::string LocalStreamServer::url() const {
    return port_ == 0 ? std::string() : "http://127.0.0.1:" + std::to_string(port_) + "/stream";
}

void LocalStreamServer::acceptLoop() {
    // At most 16 connections: the song itself and its measurement sounds, a few times over.
    while (!stopping_ && connections_.size() < 16) {
        pollfd waiting{listener_, POLLIN, 0};
        if (::poll(&waiting, 1, 50) <= 0) {
            continue;
        }
        const int client = ::accept(listener_, nullptr, nullptr);
        if (client >= 0) {
            connections_.emplace_back([this, client] { serve(client); });
        }
    }
}

void LocalStreamServer::serve(int client) {
    char request[2048];
    ::recv(client, request, sizeof request, 0); // the request itself does not matter
    const std::string header =
        "HTTP/1.0 200 OK\r\nContent-Type: " + contentType_ + "\r\nicy-name: test\r\n\r\n";
    bool open = ::send(client, header.data(), header.size(), MSG_NOSIGNAL) > 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    size_t at = 0;
    while (open && !stopping_ && std::chrono::steady_clock::now() < deadline) {
        pollfd writable{client, POLLOUT, 0};
        if (::poll(&writable, 1, 50) <= 0) {
            continue;
        }
        const size_t chunk = std::min<size_t>(4096, body_.size() - at);
        const ssize_t sent = ::send(client, body_.data() + at, chunk, MSG_NOSIGNAL);
        open = sent > 0;
        at = open ? (at + static_cast<size_t>(sent)) % body_.size() : at;
    }
    ::close(client);
}

} // namespace enginetest
