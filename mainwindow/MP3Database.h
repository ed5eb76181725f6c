#pragma once
// The player window: a frameless, skinned main window that owns the log, the sound engine, the
// level meter, the playlist window and the 20 ms progress timer, and turns buttons, sliders,
// the context menu, drops and timer ticks into engine and playlist calls. It plays one playlist
// entry at a time (`currentSound`), alternating the engine's two play slots so that a song
// change never reuses the previous song's channel. Songs are prepared on the SongLoader's
// thread: starting an entry asks for it, and the window finishes the start when the loader
// reports back, so the window keeps ticking and answering while a slow song loads.
//
// Threading: GUI thread only.

#include "Audio.h"
#include "PlaylistEntry.h"
#include "ShownDisplays.h"
#include "TimeText.h"
#include "WindowSnapping.h"

#include <QMainWindow>
#include <QPoint>
#include <QStringList>
#include <QTimer>

#include <cstdint>
#include <memory>

class LevelMeter;
class PlayList;
class SoundEngine;
class PlaybackSequencer;
class SongLoader;
struct SequencedEntry;
class StartupTrace;

namespace Ui {
class MP3DatabaseClass;
}

// What the window starts with (the program's command line, see app/CommandLine.h).
struct PlayerStartup {
    // Audio output: "sdl", "null", "offline" or "wav:PATH"; empty: the default (TAMBERLO_OUTPUT,
    // else sdl). An unknown name is logged and the default used.
    QString output;
    // Files, folders and URLs. Empty: the last playlist is restored and nothing plays.
    QStringList paths;
    // false: `paths` replace the last playlist and the first of them plays. true: the last
    // playlist is restored, `paths` are appended, nothing plays.
    bool enqueue = false;
};

class MP3Database : public QMainWindow {
    Q_OBJECT
public:
    explicit MP3Database(const PlayerStartup& startup = {}, QWidget* parent = nullptr,
                         Qt::WindowFlags flags = {});
    ~MP3Database() override;

    // ---- state shared with the playlist window and the settings dialog ----
    int currentSound = -1; // index of the current playlist entry, -1 for none
    int dockVertical = 0;  // where the playlist window sits (snapping::Docking codes)
    int dockHorizontal = 0;
    // Settings fields (settings.ini, see SettingsKeys.h).
    int vuSensitivity = 4000;
    double vuMultiplier = 1.0;
    int unknownLengthSeconds = 90;
    bool unknownLengthEnabled = false;
    bool gaplessEnabled = false;
    bool gaplessAccurate = false;
    int gaplessCutoff = 10;
    bool gaplessPreload = false;     // prepare the next entry ahead while a song plays
    bool gaplessSampleExact = false; // songs join sample to sample; no silence is trimmed
    QString lastUrlOpened = "http://";

    SoundEngine& engine() { return *engine_; }
    LevelMeter& levelMeter() { return *levelMeter_; }
    PlayList& playList() { return *playList_; }
    Ui::MP3DatabaseClass& form() { return *ui; } // for tests

    // Plays `currentSound` as a double-click in the playlist does: subsong 0, not preloaded,
    // unpaused, started.
    void playFromPlaylist();
    // Adds files, folders or URLs handed in from outside the window (a second start of the
    // program, the desktop's media controls). enqueue false: they are appended and the first of
    // them plays; true: they are only appended. Nothing that fails to add is played.
    void openPaths(const QStringList& paths, bool enqueue);

    // Playback state, for tests and the playlist window.
    bool isNoSound() const { return noSound_; }
    bool isPaused() const { return paused_; }
    int currentSubsong() const { return currentSubsong_; }
    int subsongCount() const { return subsongCount_; }
    std::uint32_t songLength() const { return currentEntry_.lengthMs; }
    // Where the current song is, in ms from its start, read from its channel; 0 when stopped.
    std::uint32_t positionMs() const {
        unsigned ms = 0;
        if (!noSound_) {
            channel().getPosition(&ms, audio::TimeUnit::Ms);
        }
        return ms;
    }
    // True from starting an entry until its song is in place (or failed): see songStarted.
    bool isLoading() const;
    // True when the next entry has been prepared ahead, so starting it skips the loading step.
    bool isNextPreloaded() const { return preloaded_; }

    void loadSettings();
    void saveSettings();

public slots:
    void on_sliderProgress_sliderReleased();
    void on_sliderBalance_valueChanged(int value);
    void on_sliderProgress_valueChanged(int value);
    void on_sliderVolume_sliderPressed();
    void on_buttonReverb_clicked();
    void on_buttonNormalize_clicked();
    void on_buttonQuit_clicked();
    void on_buttonMinimize_clicked();
    void on_buttonNextSub_clicked();
    void on_buttonPrevSub_clicked();
    void on_sliderVolume_valueChanged(int value);
    void on_sliderPitch_valueChanged(int value);
    void on_buttonNext_clicked();
    void on_buttonPrev_clicked();
    void on_buttonPause_clicked();
    void on_buttonPlay_clicked();
    void on_buttonStop_clicked();

    // Declared as slots so the meta-object lists the window's handlers in one fixed order.
protected slots:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    // The first paint opens the playlist window when the settings keep it open: the player
    // window comes up first and the second window's set-up does not delay it.
    void paintEvent(QPaintEvent* event) override;

public slots:
    void timerProgress();
    void openSound();
    void openURL();
    void showSettingsDialog();
    void showAboutDialog();
    void showPlayListDialog();
    void popupminimizeWindow();

signals:
    // Playback started, paused, resumed or stopped, the current song changed, or the volume or
    // position was set by the user: for observers such as the desktop's media controls.
    void playbackChanged();
    // The start of an entry finished: its song plays (or waits paused), or it failed and was
    // struck out (loaded false). Emitted on the GUI thread, after the labels are updated.
    void songStarted(bool loaded);

public:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    audio::Channel channel() const; // the current slot's channel (a stale handle is harmless)
    void startCurrentEntry();
    // The second half of a start, once the song is in place (MP3DatabaseLoading.cpp).
    void finishEntryStart(const SequencedEntry& song, bool loaded, bool seekable);
    void collectPreparedSong(); // the loader finished a preparation
    void preloadNextEntry();
    // Sample-exact: once the next entry is prepared, queues it behind the current song.
    void queueNextEntry();
    void stopPlayback();
    void refreshInfoLabels();
    void updateTimeLabel(std::uint32_t positionMs);
    void markRow(int row, bool playing);
    void replacePlaylistAndPlay(const QStringList& paths);
    void resumeFromPause();
    void seekToSubsong();
    void installContextMenu();
    void restoreLastPlaylist();
    bool dragByTopBar(QEvent* event);

    std::unique_ptr<Ui::MP3DatabaseClass> ui;
    QTimer progressTimer_;
    std::unique_ptr<SoundEngine> engine_;
    std::unique_ptr<SongLoader> loader_; // before the sequencer, which uses it
    std::unique_ptr<PlaybackSequencer> sequencer_;
    std::unique_ptr<LevelMeter> levelMeter_;
    PlayList* playList_ = nullptr;               // a child window, deleted in closeEvent
    std::unique_ptr<StartupTrace> startupTrace_; // only with TAMBERLO_TRACE_STARTUP set

    PlaylistEntry currentEntry_; // copy taken right after the load
    int loadingRow_ = -1;        // the row whose song is being started
    int subsongCount_ = 1;
    int currentSubsong_ = 0;
    bool noSound_ = true;
    bool paused_ = false;
    bool soundLoaded_ = false;
    bool timeDisplayElapsed_ = true;
    bool preloaded_ = false; // the next entry is prepared: starting it skips the loading step
    bool playlistShowPending_ = false; // the playlist opens after this window's first paint
    bool shutDown_ = false;
    ShownTime shownTime_; // what updateTimeLabel and refreshInfoLabels last wrote
    QString shownTimeText_;
    ShownInfo shownInfo_;

    // Dragging the frameless window by its top bar.
    bool dragging_ = false;
    QPoint pressPoint_;
    QPoint playlistOffset_;
};
