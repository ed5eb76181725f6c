// Hostile inputs through the real player and playlist windows: titles far too long to lay out,
// last-playlist files that cannot be read or belong to another user, which a start and an exit
// must leave exactly as they were, and a radio server that never answers.
#include "PlayList.h"
#include "PlaylistLimits.h"
#include "ScriptedHttpServer.h"
#include "WindowTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTimer>

#include <filesystem>
#include <unistd.h>

namespace windowtest {
namespace {

class HostileInput : public WindowTest {};

TEST_F(HostileInput, LongTitlesAreCutInTheTableButThePathStaysWhole) {
    struct Case {
        QString title;
        QString shown;
    };
    const QString accent = QString(QChar(0x00e9));
    const QString clef = QString::fromUtf8("\xf0\x9d\x84\x9e"); // two UTF-16 units
    const Case cases[] = {
        {QString(255, 'a'), QString(255, 'a')},
        {QString(256, 'b'), QString(255, 'b') + "..."},
        {QString(4000, 'c'), QString(255, 'c') + "..."},
        {QString(300, accent[0]), QString(255, accent[0]) + "..."},
        {QString(254, 'd') + clef, QString(254, 'd') + "..."}, // never half a character
    };
    MP3Database& window = openPlayer();
    for (const Case& c : cases) {
        const QString path = "/music/" + c.title;
        window.playList().addPaths({path});
        const int row = window.playList().model().count() - 1;
        ASSERT_NE(rowItem(window, row), nullptr);
        EXPECT_EQ(rowItem(window, row)->text(), c.shown) << c.title.size();
        EXPECT_EQ(rowItem(window, row)->toolTip(), path);
    }
}

TEST_F(HostileInput, ALastPlaylistThatWasNotReadIsLeftAsItWasAtExit) {
    enum class Planted { TooLarge, ForeignOwner };
    for (const Planted planted : {Planted::TooLarge, Planted::ForeignOwner}) {
        if (planted == Planted::ForeignOwner && ::geteuid() != 0) {
            continue; // giving a file to another user needs root
        }
        const QString last = QDir::tempPath() + "/Tamberlo_Playlist.m3u";
        const QString tone = writeTone("tone.wav", 500);
        {
            QFile file(last);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(QFile::encodeName(tone) + "\n");
        }
        const std::string lastPath = QFile::encodeName(last).toStdString();
        if (planted == Planted::TooLarge) {
            std::filesystem::resize_file(lastPath, MaxPlaylistFileBytes + 1);
        } else {
            ASSERT_EQ(::chown(lastPath.c_str(), 65534, 65534), 0);
        }
        const QDateTime written = QFileInfo(last).lastModified();

        MP3Database& window = openPlayer();
        EXPECT_EQ(window.playList().model().count(), 0) << static_cast<int>(planted);
        closePlayer();
        const QFileInfo after(last);
        EXPECT_EQ(after.lastModified(), written) << static_cast<int>(planted);
        EXPECT_EQ(after.size() > MaxPlaylistFileBytes, planted == Planted::TooLarge);
        QFile::remove(last);
    }
}

TEST_F(HostileInput, ASilentServerLoadsWhileTheWindowGoesOnAndIsThenStruckOut) {
    tamberlo::test::ScriptedHttpServer silent({.head = ""});
    const QString url = QString::fromStdString(silent.url("/radio"));
    QFile log(QCoreApplication::applicationDirPath() + "/logfile.html");
    MP3Database& window = openPlayer();
    const qint64 logBefore = log.size();
    window.playList().addPaths({url});
    QSignalSpy started(&window, &MP3Database::songStarted);

    window.on_buttonPlay_clicked();
    EXPECT_TRUE(window.isLoading());
    bool servedWhileLoading = false;
    QTimer::singleShot(100, &window, [&] { servedWhileLoading = window.isLoading(); });
    ASSERT_TRUE(started.wait(20000));
    EXPECT_TRUE(servedWhileLoading) << "the event loop ran while the server kept silent";
    EXPECT_FALSE(started.at(0).at(0).toBool());
    EXPECT_TRUE(window.playList().model().isUnplayable(0));

    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    log.seek(logBefore);
    const QString written = QString::fromUtf8(log.readAll());
    EXPECT_TRUE(written.contains("Loading song: " + url));
    EXPECT_TRUE(written.contains(
        QRegularExpression("Audio error! \\(20\\) The server did not answer in time\\. +" +
                           QRegularExpression::escape(url))))
        << written.toStdString();
}

} // namespace
} // namespace windowtest
