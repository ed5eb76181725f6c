#include "CommandLine.h"
#include "MP3Database.h"
#include "MprisService.h"
#include "SessionBusAddress.h"
#include "SignalCloser.h"
#include "SingleInstance.h"

#include <QApplication>
#include <cstdio>
#include <optional>

namespace {

QStringList argumentsOf(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    return arguments;
}

// Hands the command line to a player already running in this session. Returns the exit code
// when this start should end there, nothing when it goes on as the player.
std::optional<int> handOffToRunningPlayer(SingleInstance& instance, const CommandLine& line) {
    if (line.newInstance) {
        return std::nullopt;
    }
    switch (instance.claim(line.paths, line.enqueue)) {
    case SingleInstance::Role::HandedOff:
        return 0;
    case SingleInstance::Role::Unanswered:
        std::fprintf(stderr, "tamberlo: %s (start with --new-instance for a second player)\n",
                     qPrintable(instance.error()));
        return 1;
    case SingleInstance::Role::Alone:
        std::fprintf(stderr, "tamberlo: %s; later starts open a player of their own\n",
                     qPrintable(instance.error()));
        return std::nullopt;
    case SingleInstance::Role::Primary:
        break;
    }
    return std::nullopt;
}

// A later start's paths are opened; a later start without paths brings the window forward.
void openHandedPaths(MP3Database& window, const QStringList& paths, bool enqueue) {
    if (!paths.isEmpty()) {
        window.openPaths(paths, enqueue);
        return;
    }
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

} // namespace

#include <malloc.h>

int main(int argc, char* argv[]) {
    // Each thread that allocates would get a malloc arena of its own, keeping what it freed;
    // the player's few worker threads share two.
    mallopt(M_ARENA_MAX, 2);
    // The player's repaints are a few rows of the level meter 50 times a second; with X shared
    // memory each one waits for the server's answer, which costs more than sending the pixels.
    if (!qEnvironmentVariableIsSet("QT_XCB_NO_MITSHM")) {
        qputenv("QT_XCB_NO_MITSHM", "1");
    }
    // Before QApplication, so --help and --version need no display.
    const ParsedCommandLine parsed = parseCommandLine(argumentsOf(argc, argv));
    if (parsed.action == ParsedCommandLine::Action::Exit) {
        std::fputs(qPrintable(parsed.message), parsed.exitCode == 0 ? stdout : stderr);
        return parsed.exitCode;
    }
    const CommandLine& line = parsed.line;
    preventFutileBusAutolaunch();
    QApplication application(argc, argv);
    SingleInstance instance;
    if (const std::optional<int> handedOff = handOffToRunningPlayer(instance, line)) {
        return *handedOff;
    }

    // Before the window loads anything: a SIGTERM during start-up then waits for it to finish
    // and closes the window the normal way, with settings and playlist saved.
    SignalCloser closer;
    int exitCode = 0;
    {
        MP3Database window({line.output, line.paths, line.enqueue});
        window.show();
        QObject::connect(&instance, &SingleInstance::openRequested, &window,
                         [&window](const QStringList& paths, bool enqueue) {
                             openHandedPaths(window, paths, enqueue);
                         });
        const auto mediaControls = startMediaControls(window); // null without a session bus
        QObject::connect(&application, &QApplication::lastWindowClosed, &application,
                         &QApplication::quit);
        closer.closeOnSignal(&window);
        exitCode = application.exec();
    }
    return exitCode;
}
