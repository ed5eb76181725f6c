// settings.ini and the last playlist through real player windows: first-start defaults, the
// exact key spelling on disk, restoring the list and its current entry, and the
// "Load last playlist on startup" switch at exit (the last playlist and unpacked zip members).
#include "LevelMeter.h"
#include "PlayList.h"
#include "SoundEngine.h"
#include "WindowTestSupport.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTest>
#include <QTextStream>

#include <algorithm>
#include <array>

namespace windowtest {
namespace {

class SettingsStore : public WindowTest {
protected:
    QString lastPlaylist() const { return QDir::tempPath() + "/Tamberlo_Playlist.m3u"; }
    // The last-playlist file holding `count` entries (the same tone each time).
    void writeLastPlaylist(int count) {
        const QString tone = writeTone("tone.wav", 500);
        QFile file(lastPlaylist());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Text));
        QTextStream out(&file);
        out << "#EXTM3U\n";
        for (int i = 0; i < count; ++i) {
            out << tone << "\n";
        }
    }
    static QString readText(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly | QIODevice::Text) ? QString::fromUtf8(file.readAll())
                                                                : QString();
    }
};

// The defaults are checked through what the exit writes (Sensitivity=4000 and so on).
TEST_F(SettingsStore, FirstStartPlacesThePlaylistBesideAndExitWritesEveryKeyWithItsSpelling) {
    MP3Database& window = openPlayer();
    const QRect player = window.geometry();
    EXPECT_EQ(window.playList().geometry(),
              QRect(player.x() + player.width() + 20, player.y(), player.width(), player.height()));
    EXPECT_FALSE(window.playList().isVisible()) << "the playlist follows the player's first paint";
    window.show();
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.playList().isVisible(); }));

    window.move(33, 44);
    window.playList().setGeometry(500, 60, 300, 400);
    closePlayer();
    const QString text = readText(settingsPath());
    ASSERT_FALSE(text.isEmpty());

    // Group headers with their case, and every key inside its group.
    const std::pair<const char*, QStringList> groups[] = {
        {"[General]", {"LastURLOpened=http://"}},
        {"[main]", {"windowx=33", "windowy=44"}},
        {"[playlist]",
         {"windowx=500", "windowy=60", "windowwidth=300", "windowheight=400", "show=true"}},
        {"[Reverb]", {"Damp=", "RoomSize=", "WetMix=", "DryMix=", "Width=", "Enabled=false"}},
        {"[Normalize]", {"FadeTime=", "Threshhold=", "MaxAmp=", "Enabled=false"}},
        {"[VUMeter]", {"Sensitivity=4000", "Multiplier=1"}},
        {"[UnknownSonglength]", {"Seconds=90", "Enabled=false"}},
        {"[GaplessPlayback]",
         {"Enabled=false", "Accurate=false", "Cutoff=10", "Preload=false", "SampleExact=false"}},
        {"[PlayList]", {"LoadLastPlayList=true", "CurrentSound=0"}},
    };
    const QStringList lines = text.split('\n');
    for (const auto& [header, keys] : groups) {
        const qsizetype start = lines.indexOf(header);
        ASSERT_GE(start, 0) << header << " missing in\n" << text.toStdString();
        qsizetype end = start + 1;
        while (end < lines.size() && !lines[end].startsWith('[')) {
            ++end;
        }
        const QStringList body = lines.mid(start + 1, end - start - 1);
        for (const QString& key : keys) {
            const bool found = std::any_of(body.begin(), body.end(), [&](const QString& line) {
                return line.startsWith(key);
            });
            EXPECT_TRUE(found) << header << " lacks " << key.toStdString();
        }
    }
    EXPECT_EQ(text.count("="), 29) << "exactly the 29 keys:\n" << text.toStdString();
}

TEST_F(SettingsStore, SavedValuesComeBackAtTheNextStart) {
    {
        MP3Database& window = openPlayer();
        window.move(70, 80);
        window.vuSensitivity = 1234;
        window.vuMultiplier = 2.5;
        window.gaplessEnabled = true;
        window.gaplessCutoff = 25;
        window.gaplessSampleExact = true;
        window.lastUrlOpened = "http://127.0.0.1:1/x";
        window.on_buttonReverb_clicked();
        window.show();
        ASSERT_TRUE(QTest::qWaitFor([&] { return window.playList().isVisible(); }));
        window.playList().hide();
    }
    MP3Database& window = openPlayer();
    EXPECT_EQ(window.geometry().topLeft(), QPoint(70, 80));
    EXPECT_EQ(window.vuSensitivity, 1234);
    EXPECT_DOUBLE_EQ(window.vuMultiplier, 2.5);
    EXPECT_TRUE(window.gaplessEnabled);
    EXPECT_EQ(window.gaplessCutoff, 25);
    EXPECT_TRUE(window.gaplessSampleExact);
    EXPECT_EQ(window.lastUrlOpened, "http://127.0.0.1:1/x");
    EXPECT_TRUE(window.engine().isReverbEnabled());
    EXPECT_TRUE(formWidget<QAbstractButton>(window, "buttonReverb")->isChecked());
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QCoreApplication::processEvents(); // what the first paint would have opened
    EXPECT_FALSE(window.playList().isVisible());
}

TEST_F(SettingsStore, RestoredListKeepsAValidCurrentEntryAndDoesNotPlay) {
    struct Case {
        int stored;
        int expected;
    };
    for (const Case c : {Case{57, 0}, Case{-3, 0}, Case{10, 0}, Case{4, 4}}) {
        writeLastPlaylist(10);
        {
            QSettings settings(settingsPath(), QSettings::IniFormat);
            settings.setValue("PlayList/CurrentSound", c.stored);
        }
        MP3Database& window = openPlayer();
        ASSERT_EQ(window.playList().model().count(), 10) << "stored " << c.stored;
        EXPECT_EQ(window.currentSound, c.expected) << "stored " << c.stored;
        EXPECT_TRUE(rowIsMarked(window, c.expected)) << "stored " << c.stored;
        EXPECT_TRUE(window.isNoSound()) << "a restored list waits for play";
        closePlayer();
        QFile::remove(settingsPath());
    }
}

// Unpacked zip members (TMPDIR/Tamberlo_tmp) survive the exit together with the last playlist.
TEST_F(SettingsStore, TheLastPlaylistAndUnpackedFilesAreKeptOrDeletedAtExitByTheSwitch) {
    const QString tone = writeTone("tone.wav", 500);
    const QString unpacked = QDir::tempPath() + "/Tamberlo_tmp";
    const auto unpackOne = [&] {
        ASSERT_TRUE(QDir().mkpath(unpacked));
        QFile member(unpacked + "/unpacked.mod");
        ASSERT_TRUE(member.open(QIODevice::WriteOnly));
        member.write("module bytes");
    };
    {
        MP3Database& window = openPlayer({tone, tone, tone});
        window.on_buttonNext_clicked();
        unpackOne();
    }
    closePlayer();
    EXPECT_EQ(readText(lastPlaylist()).count("tone.wav"), 3) << "kept with the switch on";
    EXPECT_TRUE(QFile::exists(unpacked + "/unpacked.mod"));

    MP3Database& restored = openPlayer(); // no arguments: the list comes back
    EXPECT_EQ(restored.playList().model().count(), 3);
    EXPECT_EQ(restored.currentSound, 1);
    restored.playList().setKeepTempFiles(false); // as the settings dialog's box does
    unpackOne();
    closePlayer();
    EXPECT_FALSE(QFile::exists(lastPlaylist())) << "deleted with the switch off";
    EXPECT_FALSE(QDir(unpacked).exists());

    QSettings(settingsPath(), QSettings::IniFormat).setValue("PlayList/LoadLastPlayList", true);
    MP3Database& empty = openPlayer();
    EXPECT_EQ(empty.playList().model().count(), 0) << "nothing stale comes back";
}

TEST_F(SettingsStore, ArgumentsTakePrecedenceOverTheLastPlaylist) {
    writeLastPlaylist(5);
    const QString other = writeTone("other.wav", 500);
    MP3Database& window = openPlayer({other});
    EXPECT_EQ(window.playList().model().count(), 1);
    EXPECT_EQ(window.currentSound, 0);
    EXPECT_FALSE(window.isNoSound()) << "arguments play at once";
}

} // namespace
} // namespace windowtest
