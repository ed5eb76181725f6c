#include "ChildProcess.h"

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tamberlo::test {

ChildProcess::ChildProcess(const std::vector<std::string>& argv, const std::string& logPath) {
    std::vector<char*> args;
    for (const auto& arg : argv) {
        args.push_back(const_cast<char*>(arg.c_str()));
    }
    args.push_back(nullptr);
    const std::string log = logPath.empty() ? "/dev/null" : logPath;
    pid_ = fork();
    if (pid_ == 0) {
        const int out = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int in = open("/dev/null", O_RDONLY);
        if (out >= 0 && in >= 0) {
            dup2(in, 0);
            dup2(out, 1);
            dup2(out, 2);
        }
        execvp(args[0], args.data());
        _exit(127);
    }
}

ChildProcess::~ChildProcess() {
    stop(SIGKILL);
}

void ChildProcess::stop(int signal) {
    if (pid_ <= 0) {
        return;
    }
    kill(pid_, signal);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

namespace {
sockaddr_in localAddress(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}
} // namespace

int freeLocalPort() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = localAddress(0);
    socklen_t size = sizeof address;
    bind(fd, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    close(fd);
    return ntohs(address.sin_port);
}

bool waitForPort(int port, int timeoutMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (std::chrono::steady_clock::now() < end) {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = localAddress(port);
        const bool connected =
            connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(fd);
        if (connected) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

} // namespace tamberlo::test
