// Hostile inputs through the real player and playlist windows: titles far too long to lay out,
// and last-playlist files that cannot be read or belong to another user, which a start and an
// exit must leave exactly as they were.
#include "PlayList.h"
#include "PlaylistLimits.h"
#include "WindowTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTableWidget>

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

} // namespace
} // namespace windowtest
