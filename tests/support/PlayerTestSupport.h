#pragma once
// A real player window for widget tests, started on the offline audio output with nothing to
// play, in a private temporary folder (TMPDIR: the playlist's unpack folder and last-playlist
// file) and without a settings.ini from earlier runs. Tests that use it share the settings.ini
// beside the test binary, so their CTest entries take the "test_settings_ini" resource lock.
//
// Threading: GUI thread only (inside the QApplication of tests/support/QtTestMain.cpp).

#include "MP3Database.h"

#include <QString>
#include <QTemporaryDir>
#include <QVariantMap>
#include <memory>

class PlayerSession {
public:
    // Points TMPDIR at a fresh folder, replaces settings.ini by `settings` (key to value, empty:
    // no file, so the player's defaults apply) and opens the player.
    explicit PlayerSession(const QVariantMap& settings = {});
    // Closes the player (if still open), removes settings.ini and restores TMPDIR.
    ~PlayerSession();
    PlayerSession(const PlayerSession&) = delete;
    PlayerSession& operator=(const PlayerSession&) = delete;

    MP3Database& player() { return *player_; }
    // The temporary folder TMPDIR points at while the session lasts.
    QString tempPath() const { return tempDir_.path(); }
    // Closes and destroys the player as the application's exit does (settings saved, the
    // playlist window deleted).
    void closePlayer();

    // settings.ini beside the test binary, where the player reads and writes it.
    static QString settingsFile();

private:
    QTemporaryDir tempDir_;
    QByteArray oldTmpDir_;
    bool hadTmpDir_ = false;
    std::unique_ptr<MP3Database> player_;
};
