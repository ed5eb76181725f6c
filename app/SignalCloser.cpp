#include "SignalCloser.h"

#include <QSocketNotifier>

#ifdef Q_OS_UNIX
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int signalPipe[2] = {-1, -1};

extern "C" void onTerminationSignal(int) {
    const char byte = 1;
    // A full pipe means a close is already pending; the byte may be dropped.
    [[maybe_unused]] ssize_t written = ::write(signalPipe[1], &byte, 1);
}
} // namespace

SignalCloser::SignalCloser() {
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0) {
        return;
    }
    // Never block in the handler: signals that come while start-up keeps the loop from reading
    // pile up here, and one byte is enough.
    ::fcntl(signalPipe[1], F_SETFL, ::fcntl(signalPipe[1], F_GETFL) | O_NONBLOCK);
    notifier_ = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &SignalCloser::onSignalPipeReadable);

    struct sigaction action {};
    action.sa_handler = onTerminationSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

SignalCloser::~SignalCloser() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    if (signalPipe[0] >= 0) {
        ::close(signalPipe[0]);
        ::close(signalPipe[1]);
        signalPipe[0] = signalPipe[1] = -1;
    }
}

void SignalCloser::onSignalPipeReadable() {
    char byte;
    [[maybe_unused]] ssize_t got = ::read(signalPipe[0], &byte, 1);
    if (window_) {
        window_->close();
    } else {
        signalled_ = true;
    }
}

#else // Windows: the console's Ctrl+C ends the process; the window's own close path covers the
      // rest.

SignalCloser::SignalCloser() = default;
SignalCloser::~SignalCloser() = default;
void SignalCloser::onSignalPipeReadable() {}

#endif

void SignalCloser::closeOnSignal(QWidget* window) {
    window_ = window;
    if (signalled_ && window_) {
        // Queued: the close runs from the event loop, after the caller has finished setting up.
        QMetaObject::invokeMethod(window_, &QWidget::close, Qt::QueuedConnection);
    }
}
