// What the player makes of its command line, and where it keeps settings and log.
#include "CommandLine.h"
#include "DataFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct ParseCase {
    QStringList arguments; // after the program name
    QString output;
    QStringList paths; // "CWD/" stands for the current folder
    bool enqueue;
    bool newInstance;
};

TEST(CommandLineTest, OptionsAndPathsAsTheWindowGetsThem) {
    const ParseCase cases[] = {
        {{}, "", {}, false, false},
        {{"--output", "wav:/tmp/out.wav", "a.mp3"},
         "wav:/tmp/out.wav",
         {"CWD/a.mp3"},
         false,
         false},
        {{"--output=null", "-e", "sub/b.ogg"}, "null", {"CWD/sub/b.ogg"}, true, false},
        {{"--enqueue", "--new-instance", "/abs/c.mod"}, "", {"/abs/c.mod"}, true, true},
        // Desktops pass file URLs (Exec=tamberlo %U), percent-encoded; streams stay URLs.
        {{"file:///music/a%20b.flac", "http://radio.example/s?x=1", "HTTPS://r.example/"},
         "",
         {"/music/a b.flac", "http://radio.example/s?x=1", "HTTPS://r.example/"},
         false,
         false},
        // Options Qt's application object reads itself are left to it; "--" ends the options.
        {{"-platform", "offscreen", "-reverse", "--", "-e"}, "", {"CWD/-e"}, false, false},
        {{"", "d.wav"}, "", {"CWD/d.wav"}, false, false},
    };
    const QString cwd = QDir::currentPath();
    for (const ParseCase& c : cases) {
        SCOPED_TRACE(qPrintable(c.arguments.join(' ')));
        const ParsedCommandLine parsed = parseCommandLine(QStringList{"tamberlo"} + c.arguments);
        ASSERT_EQ(parsed.action, ParsedCommandLine::Action::Run) << qPrintable(parsed.message);
        QStringList expected = c.paths;
        expected.replaceInStrings(QRegularExpression("^CWD"), cwd);
        EXPECT_EQ(parsed.line.output, c.output);
        EXPECT_EQ(parsed.line.paths, expected);
        EXPECT_EQ(parsed.line.enqueue, c.enqueue);
        EXPECT_EQ(parsed.line.newInstance, c.newInstance);
    }
}

TEST(DataFoldersTest, BesideTheProgramUnlessItsFolderIsNotWritable) {
    QTemporaryDir home;
    const QString writable = home.filePath("app");
    ASSERT_TRUE(QDir().mkpath(writable));
    struct Case {
        QString appDir;
        QByteArray configHome; // XDG_CONFIG_HOME ("" unset)
        QByteArray stateHome;  // XDG_STATE_HOME ("" unset)
        QString settingsFile;
        QString logFile;
    };
    const QByteArray xdg = QFile::encodeName(home.filePath("xdg"));
    const Case cases[] = {
        {writable, xdg + "/c", xdg + "/s", writable + "/settings.ini", writable + "/logfile.html"},
        // A folder that is missing counts as not writable, as a read-only one does.
        {home.filePath("gone"), xdg + "/c", xdg + "/s", xdg + "/c/tamberlo/settings.ini",
         xdg + "/s/tamberlo/logfile.html"},
        // Unset or relative XDG variables mean the defaults below HOME.
        {home.filePath("gone"), "", "relative/state",
         home.filePath(".config/tamberlo/settings.ini"),
         home.filePath(".local/state/tamberlo/logfile.html")},
    };
    const QByteArray oldHome = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(home.path()));
    for (const Case& c : cases) {
        SCOPED_TRACE(qPrintable(c.appDir));
        qputenv("XDG_CONFIG_HOME", c.configHome);
        qputenv("XDG_STATE_HOME", c.stateHome);
        const DataFolders folders = chooseDataFolders(c.appDir);
        EXPECT_EQ(folders.settingsFile, c.settingsFile);
        EXPECT_EQ(folders.logFile, c.logFile);
        EXPECT_EQ(folders.besideProgram, c.appDir == writable);
        EXPECT_TRUE(QFileInfo(folders.logFile).dir().exists());
        EXPECT_TRUE(QFileInfo(folders.settingsFile).dir().exists());
    }
    qputenv("HOME", oldHome);
    qunsetenv("XDG_CONFIG_HOME");
    qunsetenv("XDG_STATE_HOME");
}

} // namespace
