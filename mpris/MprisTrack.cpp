#include "MprisTrack.h"

#include "MP3Database.h"
#include "PathText.h"
#include "PlayList.h"

#include <QFile>
#include <QUrl>

namespace mpris {

namespace {

QString urlOf(const std::string& path) {
    const QString text = QFile::decodeName(QByteArray::fromStdString(path));
    if (pathtext::isHttpUrl(path)) {
        return text;
    }
    return QString::fromUtf8(QUrl::fromLocalFile(text).toEncoded());
}

} // namespace

CurrentTrack currentTrack(MP3Database& window) {
    CurrentTrack track;
    const PlaylistModel& model = window.playList().model();
    const int row = window.currentSound;
    if (row < 0 || row >= model.count()) {
        track.id = QDBusObjectPath(NoTrackPath);
        track.metadata.insert("mpris:trackid", QVariant::fromValue(track.id));
        return track;
    }
    const PlaylistEntry& entry = model.entry(row);
    // The row names the entry: stable while the list keeps its order, and what Next and
    // Previous step through.
    track.id = QDBusObjectPath("/org/mpris/MediaPlayer2/tamberlo/track/" + QString::number(row));
    track.metadata.insert("mpris:trackid", QVariant::fromValue(track.id));
    // 0: not loaded yet; UnknownLength: a stream or a song that does not say.
    if (entry.lengthMs != 0 && entry.lengthMs != PlaylistEntry::UnknownLength) {
        track.lengthUs = qint64{entry.lengthMs} * 1000;
        track.metadata.insert("mpris:length", QVariant::fromValue(qlonglong{*track.lengthUs}));
    }
    track.metadata.insert("xesam:title", QFile::decodeName(QByteArray::fromStdString(entry.title)));
    track.metadata.insert("xesam:url", urlOf(entry.path));
    return track;
}

} // namespace mpris
