#pragma once
// The player's command line, parsed before any Qt application object exists, so that --help,
// --version and mistakes are answered on a terminal without a display.
//
//   tamberlo [--output NAME] [-e|--enqueue] [--new-instance] [PATH|URL ...]
//
// Threading: any thread; no QCoreApplication needed.

#include <QString>
#include <QStringList>

struct CommandLine {
    // --output NAME or --output=NAME: "sdl", "null", "offline" or "wav:PATH", checked by the
    // window. Empty: the default (TAMBERLO_OUTPUT, else sdl).
    QString output;
    // Files, folders and playlists made absolute against the current folder, file:// URLs as
    // local absolute paths, other URLs (http://...) unchanged; in the order given.
    QStringList paths;
    // -e/--enqueue: append to the player's list without starting playback.
    bool enqueue = false;
    // --new-instance: start a player of its own even when one is running.
    bool newInstance = false;
};

struct ParsedCommandLine {
    // Run: start (or hand off to) the player with `line`. Exit: print `message` and end with
    // `exitCode`, on stdout for 0 (--help, --version), on stderr for 2 (unknown option, missing
    // value).
    enum class Action { Run, Exit };
    Action action = Action::Run;
    int exitCode = 0;
    QString message;
    CommandLine line;
};

// `arguments` as the program got them, its own name first. Options Qt's application object
// reads itself (-platform NAME, -style NAME, ...) are accepted and ignored here.
ParsedCommandLine parseCommandLine(const QStringList& arguments);
