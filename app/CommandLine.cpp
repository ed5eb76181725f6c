#include "CommandLine.h"

#include "TamberloVersion.h"

#include <QCommandLineParser>
#include <QDir>
#include <QRegularExpression>
#include <QUrl>

namespace {

// Options that QGuiApplication and QApplication take out of argv themselves. They are declared
// (hidden) so that they are not refused as unknown before the application object sees them.
const char* const qtValueOptions[] = {
    "platform",        "platformpluginpath", "platformtheme", "plugin",
    "qwindowgeometry", "qwindowicon",        "qwindowtitle",  "display",
    "style",           "stylesheet",         "session",
};

// "scheme://..." (RFC 3986 scheme characters); anything else is a local path.
bool isUrl(const QString& argument) {
    static const QRegularExpression scheme("^[A-Za-z][A-Za-z0-9+.-]*://");
    return scheme.match(argument).hasMatch();
}

QString playablePath(const QString& argument) {
    if (isUrl(argument)) {
        const QUrl url(argument);
        return url.isLocalFile() ? url.toLocalFile() : argument;
    }
    return QDir::current().absoluteFilePath(argument);
}

ParsedCommandLine exitWith(int exitCode, const QString& message) {
    ParsedCommandLine parsed;
    parsed.action = ParsedCommandLine::Action::Exit;
    parsed.exitCode = exitCode;
    parsed.message = message.endsWith('\n') ? message : message + '\n';
    return parsed;
}

} // namespace

ParsedCommandLine parseCommandLine(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Plays songs, tracker modules, chiptunes and internet radio streams.\n"
        "A second start hands its files to the player already running.");
    // "-platform" is one option (as Qt reads it), not -p -l -a ...
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption help({"h", "help"}, "Show this help and exit.");
    const QCommandLineOption version("version", "Show the version and exit.");
    const QCommandLineOption output(
        "output", "Audio output: sdl (default), null, offline or wav:PATH.", "NAME");
    const QCommandLineOption enqueue({"e", "enqueue"},
                                     "Add to the running player's list without playing.");
    const QCommandLineOption newInstance("new-instance",
                                         "Start a separate player even if one is running already.");
    parser.addOptions({help, version, output, enqueue, newInstance});
    for (const char* name : qtValueOptions) {
        QCommandLineOption option(name, QString(), "value");
        option.setFlags(QCommandLineOption::HiddenFromHelp);
        parser.addOption(option);
    }
    QCommandLineOption reverse("reverse");
    reverse.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(reverse);
    parser.addPositionalArgument("paths", "Files, folders, playlists or stream URLs to play.",
                                 "[paths...]");

    if (!parser.parse(arguments)) {
        return exitWith(2, "tamberlo: " + parser.errorText() + "\nTry 'tamberlo --help'.");
    }
    if (parser.isSet(help)) {
        // Without an application object the parser cannot know the program's name.
        return exitWith(0, parser.helpText().replace("<executable_name>", "tamberlo"));
    }
    if (parser.isSet(version)) {
        return exitWith(0, QStringLiteral("tamberlo " TAMBERLO_VERSION));
    }
    ParsedCommandLine parsed;
    parsed.line.output = parser.value(output);
    parsed.line.enqueue = parser.isSet(enqueue);
    parsed.line.newInstance = parser.isSet(newInstance);
    for (const QString& argument : parser.positionalArguments()) {
        if (!argument.isEmpty()) { // "" would name the current folder
            parsed.line.paths << playablePath(argument);
        }
    }
    return parsed;
}
