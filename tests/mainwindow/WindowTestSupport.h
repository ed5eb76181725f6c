#pragma once
// Helpers for the player-window tests: each test gets a private temporary folder (TMPDIR, so the
// last playlist and unpacked zip members stay inside it) and a player window on the offline
// output without settings.ini, and drives time itself by mixing and ticking.
//
// Threading: test (GUI) thread only.

#include "MP3Database.h"

#include <QLabel>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>

class QMimeData;
class QTableWidget;
class QTableWidgetItem;

namespace windowtest {

// settings.ini beside the test binary (the player keeps it in the application folder).
QString settingsPath();

// The generated media folder (TAMBERLO_TEST_MEDIA) joined with `name`.
QString media(const QString& name);

// A widget of the player's form by its object name (null when missing or of another type).
template <class Widget> Widget* formWidget(MP3Database& player, const char* name) {
    return player.findChild<Widget*>(name);
}
QString labelText(MP3Database& player, const char* name);

// The playlist window's table and its row `row` (null when out of range).
QTableWidget* table(MP3Database& player);
QTableWidgetItem* rowItem(MP3Database& player, int row);
// True when row `row` has the playing look (bold, RGB 25/130/115).
bool rowIsMarked(MP3Database& player, int row);

// Drags `data` onto `target` and drops it there when the drag is accepted; returns whether it was.
bool dragAndDrop(QWidget& target, QMimeData& data);

class WindowTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A new player window with `arguments` (files and folders) on the offline output, its first
    // song in place. Any window made before is closed first (so its settings are saved as at a
    // normal exit).
    MP3Database& openPlayer(const QStringList& arguments = {});
    void closePlayer(); // saves settings and the last playlist, as at exit
    MP3Database& player() { return *player_; }

    // Mixes `ms` milliseconds in 20 ms steps, calling the window's tick after each step; a song
    // that is loading is waited for first (songs load on the player's loader thread).
    void play(unsigned ms);
    // Runs the event loop until the song being started is in place or has failed.
    void waitForSong();

    // A 16-bit stereo WAV of `ms` milliseconds of a sine tone at `rate` Hz, in the private
    // folder.
    QString writeTone(const QString& name, unsigned ms, double frequency = 440.0, int rate = 44100);

    QString tempFolder() const { return temp_->path(); }

private:
    std::unique_ptr<QTemporaryDir> temp_;
    QByteArray previousTmp_;
    std::unique_ptr<MP3Database> player_;
};

} // namespace windowtest
