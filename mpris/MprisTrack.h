#pragma once
// The player window's current playlist entry in the shape media controls expect: an object
// path that names the entry and the metadata map of the Player interface.
//
// Threading: GUI thread only (reads the player window).

#include <QDBusObjectPath>
#include <QString>
#include <QVariantMap>

#include <optional>

class MP3Database;

namespace mpris {

// Track id while no entry is current.
inline const QString NoTrackPath = QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack");

struct CurrentTrack {
    // "/org/mpris/MediaPlayer2/tamberlo/track/ROW" for playlist row ROW, or NoTrackPath.
    QDBusObjectPath id;
    // The entry's full length in microseconds, once loaded and when the song has one.
    std::optional<qint64> lengthUs;
    // "mpris:trackid" (o), "mpris:length" (x, us, only when known), "xesam:title" (s) and
    // "xesam:url" (s, a percent-encoded file:// URL or the stream's http(s) URL). Only the id
    // while no entry is current.
    QVariantMap metadata;
};

// What `window.currentSound` names, read from the playlist model.
CurrentTrack currentTrack(MP3Database& window);

} // namespace mpris
