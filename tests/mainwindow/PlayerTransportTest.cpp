// The player window's transport driven through its slots and the offline output: play, pause,
// stop, next and previous, the end of the list, seeking, failed songs, dropped files, and pitch
// and balance carried into the songs that follow.
#include "PlayList.h"
#include "SoundEngine.h"
#include "TimeText.h"
#include "WindowTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QInputDialog>
#include <QLabel>
#include <QMimeData>
#include <QSlider>
#include <QTableWidgetItem>
#include <QTest>
#include <QTimer>
#include <QUrl>

namespace windowtest {
namespace {

class PlayerTransport : public WindowTest {
protected:
    // A player holding `count` one-second tones (t0.wav, t1.wav, ...), stopped.
    MP3Database& playerWithTones(int count, unsigned ms = 1000) {
        QStringList paths;
        for (int i = 0; i < count; ++i) {
            paths << writeTone(QString("t%1.wav").arg(i), ms, 300.0 + 100.0 * i);
        }
        MP3Database& window = openPlayer();
        window.playList().addPaths(paths);
        return window;
    }
    QSlider* progress() { return formWidget<QSlider>(player(), "sliderProgress"); }
    int markedRows() {
        int marked = 0;
        for (int row = 0; row < player().playList().model().count(); ++row) {
            marked += rowIsMarked(player(), row) ? 1 : 0;
        }
        return marked;
    }
};

TEST_F(PlayerTransport, PlayPauseResumeAndStop) {
    MP3Database& window = playerWithTones(3);
    ASSERT_TRUE(window.isNoSound());

    window.on_buttonPlay_clicked();
    waitForSong();
    EXPECT_EQ(window.currentSound, 0);
    EXPECT_FALSE(window.isNoSound());
    EXPECT_TRUE(progress()->isEnabled());
    EXPECT_EQ(progress()->maximum(), 1000);
    EXPECT_TRUE(rowIsMarked(window, 0));
    EXPECT_TRUE(labelText(window, "labelTitle").startsWith("t0.wav (00:01)"));

    play(500);
    const int playedTo = progress()->value();
    EXPECT_NEAR(playedTo, 500, 40);

    window.on_buttonPause_clicked();
    EXPECT_TRUE(window.isPaused());
    EXPECT_TRUE(formWidget<QAbstractButton>(window, "buttonPause")->isChecked());
    play(300);
    EXPECT_EQ(progress()->value(), playedTo) << "a paused song does not move";

    window.on_buttonPlay_clicked(); // play while paused resumes where it was
    EXPECT_FALSE(window.isPaused());
    EXPECT_FALSE(formWidget<QAbstractButton>(window, "buttonPause")->isChecked());
    play(200);
    EXPECT_GT(progress()->value(), playedTo);
    EXPECT_EQ(window.currentSound, 0);

    window.on_buttonStop_clicked();
    EXPECT_TRUE(window.isNoSound());
    EXPECT_EQ(labelText(window, "labelCurrentTime"), "00:00");
    EXPECT_EQ(progress()->value(), 0);
    EXPECT_FALSE(progress()->isEnabled());
    EXPECT_TRUE(labelText(window, "labelTitle").startsWith("t0.wav")) << "the list is not empty";
    play(200);
    EXPECT_EQ(progress()->value(), 0) << "the tick idles after stop";
    window.on_sliderProgress_sliderReleased(); // nothing loaded: must not touch any channel
    EXPECT_TRUE(window.isNoSound());
}

TEST_F(PlayerTransport, TheTimeDisplaySwitchesAtOnceWhilePausedAndReadsZeroAfterStop) {
    MP3Database& window = playerWithTones(2);
    window.show();
    window.on_buttonPlay_clicked();
    play(300);
    window.on_buttonPause_clicked();
    // A click on the time display switches it to the remaining time, paused or not.
    QTest::mousePress(formWidget<QLabel>(window, "labelLCDOverlay"), Qt::LeftButton);
    EXPECT_EQ(labelText(window, "labelCurrentTime"), "-" + formatTime(1000 - progress()->value()));
    window.on_buttonPause_clicked();
    play(100);
    ASSERT_TRUE(labelText(window, "labelCurrentTime").startsWith("-"));
    window.on_buttonStop_clicked();
    EXPECT_EQ(labelText(window, "labelCurrentTime"), "00:00");
    EXPECT_EQ(progress()->value(), 0);
}

TEST_F(PlayerTransport, StopWithAnEmptyListForgetsTheSong) {
    MP3Database& window = openPlayer();
    window.on_buttonPlay_clicked(); // an empty list: play stops
    EXPECT_TRUE(window.isNoSound());
    EXPECT_EQ(labelText(window, "labelTitle"), "No sound loaded");
    EXPECT_EQ(labelText(window, "labelInfo"), "No sound loaded");
}

TEST_F(PlayerTransport, NextAndPreviousStopAtBothEndsAndOnlyMoveTheMarkWhileStopped) {
    MP3Database& window = playerWithTones(3);
    window.on_buttonPlay_clicked();

    window.on_buttonPrev_clicked();
    EXPECT_EQ(window.currentSound, 0) << "previous at the first entry does nothing";

    window.on_buttonNext_clicked();
    window.on_buttonNext_clicked();
    waitForSong();
    EXPECT_EQ(window.currentSound, 2);
    EXPECT_TRUE(labelText(window, "labelTitle").startsWith("t2.wav"));
    window.on_buttonNext_clicked();
    EXPECT_EQ(window.currentSound, 2) << "next at the last entry does nothing, no wrap";
    EXPECT_TRUE(rowIsMarked(window, 2));
    EXPECT_EQ(markedRows(), 1);

    window.on_buttonPrev_clicked();
    EXPECT_EQ(window.currentSound, 1);
    EXPECT_TRUE(rowIsMarked(window, 1));
    EXPECT_EQ(markedRows(), 1);
    EXPECT_FALSE(window.isNoSound());

    window.on_buttonStop_clicked();
    window.on_buttonNext_clicked();
    EXPECT_EQ(window.currentSound, 2);
    EXPECT_TRUE(window.isNoSound());
    EXPECT_TRUE(rowIsMarked(window, 2));
    EXPECT_EQ(markedRows(), 1);
    window.on_buttonPlay_clicked(); // play starts the marked entry
    waitForSong();
    EXPECT_TRUE(labelText(window, "labelTitle").startsWith("t2.wav"));
    EXPECT_FALSE(window.isNoSound());
}

TEST_F(PlayerTransport, SongsFollowEachOtherAndTheLastOneStops) {
    MP3Database& window = playerWithTones(2, 300);
    window.on_buttonPlay_clicked();
    play(400);
    EXPECT_EQ(window.currentSound, 1) << "the end of the first song starts the second";
    EXPECT_FALSE(window.isNoSound());
    play(400);
    EXPECT_TRUE(window.isNoSound()) << "the end of the last song stops";
    EXPECT_EQ(window.currentSound, 1) << "and never wraps to the first";
    EXPECT_FALSE(progress()->isEnabled());
}

TEST_F(PlayerTransport, ReleasingTheSliderAtItsMaximumSeeksJustBeforeTheEnd) {
    // At 48 kHz every millisecond is a whole number of frames, so positions read back exactly.
    const QString tone = writeTone("tone48.wav", 1000, 440.0, 48000);
    MP3Database& window = openPlayer();
    window.playList().addPaths({tone, tone});
    window.on_buttonPlay_clicked();
    play(100);
    progress()->setValue(progress()->maximum());
    window.on_sliderProgress_sliderReleased();
    window.timerProgress(); // reads the new position without mixing
    EXPECT_EQ(progress()->value(), progress()->maximum() - 1);
    EXPECT_EQ(window.currentSound, 0) << "a seek to the very end would have ended the song";
    EXPECT_FALSE(window.isNoSound());

    progress()->setValue(250);
    window.on_sliderProgress_sliderReleased();
    window.timerProgress();
    EXPECT_EQ(progress()->value(), 250);
}

TEST_F(PlayerTransport, AFailedSongIsStruckOutAndTheTickMovesPastIt) {
    const QString broken = tempFolder() + "/broken.mp3";
    QFile file(broken);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, '\x5a'));
    file.close();
    const QString good = writeTone("good.wav", 1000);
    MP3Database& window = openPlayer();
    window.playList().addPaths({good, broken, good});

    window.on_buttonPlay_clicked();
    play(100);
    EXPECT_FALSE(rowItem(window, 0)->font().strikeOut());
    // Looked at when the start finishes: the window's own timer moves on soon after.
    bool struckOut = false;
    QObject::connect(&window, &MP3Database::songStarted, [&](bool loaded) {
        struckOut = struckOut || (!loaded && window.currentSound == 1 &&
                                  window.playList().model().isUnplayable(1) &&
                                  rowItem(window, 1)->font().strikeOut() && !window.isNoSound());
    });
    window.on_buttonNext_clicked();
    waitForSong();
    EXPECT_TRUE(struckOut);

    // Nothing plays in the failed song's slot, so the next tick counts it as ended.
    window.timerProgress();
    waitForSong();
    EXPECT_EQ(window.currentSound, 2);
    EXPECT_FALSE(rowItem(window, 2)->font().strikeOut());
    play(200);
    EXPECT_NEAR(progress()->value(), 200, 40) << "the next good song plays";
}

// Answers the next "Open URL" prompt with `text`, as the user would.
void answerUrlPrompt(const QString& text) {
    QTimer::singleShot(0, [text] {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* prompt = qobject_cast<QInputDialog*>(widget); prompt && prompt->isVisible()) {
                prompt->setTextValue(text);
                prompt->accept();
            }
        }
    });
}

TEST_F(PlayerTransport, AnOpenedFileOrListPlaysFromItsFirstEntryEvenWhilePaused) {
    MP3Database& window = playerWithTones(3);
    window.show();
    window.on_buttonPlay_clicked();
    window.on_buttonNext_clicked();
    window.on_buttonNext_clicked();
    play(300);
    window.on_buttonPause_clicked();
    answerUrlPrompt(writeTone("opened.wav", 1000)); // a local path opens as a file
    window.openURL();
    waitForSong();
    EXPECT_EQ(window.playList().model().count(), 1);
    EXPECT_EQ(window.currentSound, 0);
    EXPECT_FALSE(window.isPaused());
    EXPECT_FALSE(formWidget<QAbstractButton>(window, "buttonPause")->isChecked());
    EXPECT_TRUE(labelText(window, "labelTitle").startsWith("opened.wav"))
        << "not the paused song resumed";
    play(200);
    EXPECT_NEAR(progress()->value(), 200, 40);

    // A list opened while a later entry plays starts at its own first entry.
    window.playList().addPaths({writeTone("t1.wav", 1000), writeTone("t2.wav", 1000)});
    window.on_buttonNext_clicked();
    window.on_buttonNext_clicked();
    ASSERT_EQ(window.currentSound, 2);
    QFile list(tempFolder() + "/list.m3u");
    ASSERT_TRUE(list.open(QIODevice::WriteOnly));
    for (const char* name : {"a.wav", "b.wav", "c.wav"}) {
        list.write((writeTone(name, 1000) + "\n").toUtf8());
    }
    list.close();
    answerUrlPrompt(list.fileName());
    window.openURL();
    waitForSong();
    EXPECT_EQ(window.playList().model().count(), 3);
    EXPECT_EQ(window.currentSound, 0);
    EXPECT_TRUE(labelText(window, "labelTitle").startsWith("a.wav"));
    EXPECT_TRUE(rowIsMarked(window, 0));
}

TEST_F(PlayerTransport, DroppedFilesReplaceTheListAndPlay) {
    MP3Database& window = playerWithTones(3);
    window.on_buttonPlay_clicked();
    window.on_buttonNext_clicked();
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(writeTone("dropped.wav", 1000))});
    EXPECT_TRUE(dragAndDrop(window, files));
    waitForSong();
    EXPECT_EQ(window.playList().model().count(), 1);
    EXPECT_EQ(window.currentSound, 0);
    EXPECT_FALSE(window.isNoSound());
    EXPECT_TRUE(labelText(window, "labelTitle").startsWith("dropped.wav"));

    QMimeData text;
    text.setText("just words");
    EXPECT_FALSE(dragAndDrop(window, text));
    EXPECT_EQ(window.playList().model().count(), 1);

    // A dropped folder brings its files, as on the playlist window and the command line.
    QDir(tempFolder()).mkdir("album");
    writeTone("album/b.wav", 1000);
    writeTone("album/a.wav", 1000);
    QMimeData folder;
    folder.setUrls({QUrl::fromLocalFile(tempFolder() + "/album")});
    EXPECT_TRUE(dragAndDrop(window, folder));
    waitForSong();
    ASSERT_EQ(window.playList().model().count(), 2);
    EXPECT_EQ(window.playList().model().entry(0).title, "a.wav");
    EXPECT_TRUE(labelText(window, "labelTitle").startsWith("a.wav"));
    EXPECT_FALSE(window.playList().model().isUnplayable(0));
}

// The pitch and balance sliders act on whichever song plays: a manual next, a move at a song's
// end and a next pressed while paused all carry them over.
TEST_F(PlayerTransport, PitchAndBalanceCarryIntoTheNextSongsAndNextResumesFromPause) {
    MP3Database& window = playerWithTones(3, 300);
    window.on_buttonPlay_clicked();
    formWidget<QSlider>(window, "sliderPitch")->setValue(150);
    formWidget<QSlider>(window, "sliderBalance")->setValue(-40);
    const auto expectCarried = [&](const char* how) {
        SCOPED_TRACE(how);
        waitForSong();
        int playing = 0;
        for (int slot : {0, 1}) {
            bool plays = false;
            window.engine().getChannel(slot).isPlaying(&plays);
            if (plays) {
                ++playing;
                float frequency = 0;
                float pan = 0;
                window.engine().getChannel(slot).getFrequency(&frequency);
                window.engine().getChannel(slot).getPan(&pan);
                EXPECT_FLOAT_EQ(frequency, 44100 * 1.5f);
                EXPECT_FLOAT_EQ(pan, -0.4f);
            }
        }
        EXPECT_EQ(playing, 1);
    };
    expectCarried("first song");
    play(60);
    window.on_buttonNext_clicked();
    EXPECT_EQ(window.currentSound, 1);
    expectCarried("next pressed");
    play(300);
    ASSERT_EQ(window.currentSound, 2);
    expectCarried("the end of a song");

    window.on_buttonPrev_clicked();
    window.on_buttonPause_clicked();
    window.on_buttonNext_clicked();
    EXPECT_FALSE(window.isPaused()) << "next while paused plays the next song";
    EXPECT_FALSE(formWidget<QAbstractButton>(window, "buttonPause")->isChecked());
    expectCarried("next pressed while paused");
    play(100);
    EXPECT_NEAR(progress()->value(), 150, 40) << "at one and a half times the speed";
}

TEST_F(PlayerTransport, SampleExactQueuesTheNextSongBehindThePlayingOne) {
    MP3Database& window = playerWithTones(3, 300);
    window.gaplessEnabled = true; // measures nothing while sample-exact is on
    window.gaplessSampleExact = true;
    window.on_buttonPlay_clicked();
    waitForSong();
    const auto channels = [&window] {
        int playing = 0;
        for (int slot : {0, 1}) {
            bool plays = false;
            bool paused = true;
            window.engine().getChannel(slot).isPlaying(&plays);
            window.engine().getChannel(slot).getPaused(&paused);
            playing += plays && !paused ? 1 : 0;
        }
        return playing;
    };
    // Prepared on the loader thread, then queued (unpaused) behind the first song.
    EXPECT_TRUE(QTest::qWaitFor([&] { return channels() == 2; }, 5000));
    play(300);
    EXPECT_EQ(window.currentSound, 1);
    EXPECT_EQ(window.playList().model().entry(0).startOffsetMs, 0u);
    play(700);
    EXPECT_TRUE(window.isNoSound()) << "the end of the last song stops";
    EXPECT_EQ(window.currentSound, 2);
}

} // namespace
} // namespace windowtest
