#include "MprisPlayerAdaptor.h"

#include "MP3Database.h"
#include "MprisTrack.h"
#include "PlayList.h"
#include "ui_MP3Database.h"

#include <QDBusConnection>
#include <QUrl>

#include <algorithm>
#include <cmath>

MprisPlayerAdaptor::MprisPlayerAdaptor(QObject* exported, MP3Database& window)
    : QDBusAbstractAdaptor(exported), window_(window) {}

QString MprisPlayerAdaptor::playbackStatus() const {
    if (window_.isNoSound()) {
        return QStringLiteral("Stopped");
    }
    return window_.isPaused() ? QStringLiteral("Paused") : QStringLiteral("Playing");
}

QVariantMap MprisPlayerAdaptor::metadata() const {
    return mpris::currentTrack(window_).metadata;
}

double MprisPlayerAdaptor::volume() const {
    return window_.form().sliderVolume->value() / 100.0;
}

void MprisPlayerAdaptor::setVolume(double volume) {
    if (std::isnan(volume)) {
        return;
    }
    // The slider's valueChanged sets the engine's master volume and announces the change.
    window_.form().sliderVolume->setValue(
        static_cast<int>(std::lround(std::clamp(volume, 0.0, 1.0) * 100)));
}

qlonglong MprisPlayerAdaptor::position() const {
    return qlonglong{window_.positionMs()} * 1000;
}

bool MprisPlayerAdaptor::canGoNext() const {
    return window_.currentSound < window_.playList().model().count() - 1;
}

bool MprisPlayerAdaptor::canGoPrevious() const {
    return window_.currentSound > 0;
}

bool MprisPlayerAdaptor::canPlay() const {
    return window_.playList().model().count() > 0;
}

bool MprisPlayerAdaptor::canPause() const {
    return window_.currentSound >= 0 && window_.currentSound < window_.playList().model().count();
}

bool MprisPlayerAdaptor::canSeek() const {
    // The window enables its position slider only for songs whose length is known.
    return !window_.isNoSound() && window_.form().sliderProgress->isEnabled() &&
           mpris::currentTrack(window_).lengthUs.has_value();
}

QVariantMap MprisPlayerAdaptor::announcedProperties() const {
    return {{"PlaybackStatus", playbackStatus()},
            {"Rate", rate()},
            {"MinimumRate", rate()},
            {"MaximumRate", rate()},
            {"Shuffle", shuffle()},
            {"Metadata", metadata()},
            {"Volume", volume()},
            {"CanGoNext", canGoNext()},
            {"CanGoPrevious", canGoPrevious()},
            {"CanPlay", canPlay()},
            {"CanPause", canPause()},
            {"CanSeek", canSeek()},
            {"CanControl", canControl()}};
}

void MprisPlayerAdaptor::Play() {
    // The window's Play restarts a playing song; here it must leave it alone.
    if (playbackStatus() != QLatin1String("Playing")) {
        window_.on_buttonPlay_clicked();
    }
}

void MprisPlayerAdaptor::Pause() {
    if (playbackStatus() == QLatin1String("Playing")) {
        window_.on_buttonPause_clicked();
    }
}

void MprisPlayerAdaptor::PlayPause() {
    if (playbackStatus() == QLatin1String("Playing")) {
        window_.on_buttonPause_clicked();
    } else {
        window_.on_buttonPlay_clicked();
    }
}

void MprisPlayerAdaptor::Stop() {
    window_.on_buttonStop_clicked();
}

void MprisPlayerAdaptor::Next() {
    window_.on_buttonNext_clicked();
}

void MprisPlayerAdaptor::Previous() {
    window_.on_buttonPrev_clicked();
}

void MprisPlayerAdaptor::Seek(qlonglong Offset) {
    if (!canSeek()) {
        return;
    }
    const qlonglong target = std::max<qlonglong>(0, position() + Offset);
    if (target > *mpris::currentTrack(window_).lengthUs) {
        Next();
        return;
    }
    seekTo(target);
}

void MprisPlayerAdaptor::SetPosition(const QDBusObjectPath& TrackId, qlonglong Position) {
    const mpris::CurrentTrack track = mpris::currentTrack(window_);
    if (!canSeek() || TrackId != track.id || Position < 0 || Position > *track.lengthUs) {
        return;
    }
    seekTo(Position);
}

void MprisPlayerAdaptor::seekTo(qlonglong positionUs) {
    // As a click on the position slider: the window seeks to the slider's value on release.
    window_.form().sliderProgress->setValue(static_cast<int>(positionUs / 1000));
    window_.on_sliderProgress_sliderReleased();
    emit Seeked(position());
}

void MprisPlayerAdaptor::OpenUri(const QString& Uri, const QDBusMessage& call) {
    const QUrl url(Uri);
    QString path;
    if (url.isLocalFile()) {
        path = url.toLocalFile();
    } else if (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https")) {
        path = Uri;
    } else {
        call.setDelayedReply(true); // the error below is the answer
        QDBusConnection::sessionBus().send(call.createErrorReply(
            QDBusError::NotSupported, "Only file, http and https URIs are played"));
        return;
    }
    window_.openPaths({path}, false);
}
