#pragma once
// The org.mpris.MediaPlayer2.Player interface on the player window: the transport methods
// press the window's buttons, Volume is the window's volume slider, seeks go through its
// position slider, and OpenUri adds to the playlist and plays. Rate is always 1.0, Shuffle
// always false (writes are ignored) and LoopStatus is not offered.
//
// Units: positions, offsets and lengths in microseconds (the window keeps milliseconds);
// Volume 0.0 .. 1.0 (the slider's 0 .. 100 %).
//
// Threading: GUI thread only (QtDBus delivers calls there).

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QString>
#include <QVariantMap>

class MP3Database;

class MprisPlayerAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(double Rate READ rate WRITE setRate)
    Q_PROPERTY(double MinimumRate READ rate)
    Q_PROPERTY(double MaximumRate READ rate)
    Q_PROPERTY(bool Shuffle READ shuffle WRITE setShuffle)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(double Volume READ volume WRITE setVolume)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(bool CanGoNext READ canGoNext)
    Q_PROPERTY(bool CanGoPrevious READ canGoPrevious)
    Q_PROPERTY(bool CanPlay READ canPlay)
    Q_PROPERTY(bool CanPause READ canPause)
    Q_PROPERTY(bool CanSeek READ canSeek)
    Q_PROPERTY(bool CanControl READ canControl)

public:
    // `exported` is the object registered on the bus (the adaptor's parent); the window must
    // outlive the adaptor.
    MprisPlayerAdaptor(QObject* exported, MP3Database& window);

    // "Playing", "Paused" or "Stopped".
    QString playbackStatus() const;
    double rate() const { return 1.0; }
    void setRate(double) {}
    bool shuffle() const { return false; }
    void setShuffle(bool) {}
    QVariantMap metadata() const;
    double volume() const;
    // Clamped to 0.0 .. 1.0 and rounded to the slider's whole percent.
    void setVolume(double volume);
    qlonglong position() const;
    bool canGoNext() const;
    bool canGoPrevious() const;
    bool canPlay() const;  // the playlist has an entry
    bool canPause() const; // an entry is current
    bool canSeek() const;  // a song plays or is paused, and its length is known
    bool canControl() const { return true; }

    // Every property whose change is announced with PropertiesChanged (all but Position, which
    // moves by itself and is announced by Seeked), by its bus name.
    QVariantMap announcedProperties() const;

public slots:
    void Play();  // resumes a pause, starts when stopped, nothing while playing
    void Pause(); // nothing unless playing
    void PlayPause();
    void Stop();
    void Next();     // stays stopped when stopped; nothing at the last entry
    void Previous(); // likewise at the first entry
    // Moves by `Offset` us from the current position; before the start means the start, past
    // the end goes to the next song. Nothing when the song cannot seek.
    void Seek(qlonglong Offset);
    // Moves to `Position` us if `TrackId` is the current track and 0 <= Position <= length.
    void SetPosition(const QDBusObjectPath& TrackId, qlonglong Position);
    // file:// URLs and http(s) streams are appended to the playlist and played; other schemes
    // answer org.freedesktop.DBus.Error.NotSupported. `call` is the bus message (QtDBus passes
    // it; it is not part of the method's signature on the bus).
    void OpenUri(const QString& Uri, const QDBusMessage& call);

signals:
    // After every seek, by these methods or by the window's position slider: the new position
    // in us.
    void Seeked(qlonglong Position);

private:
    void seekTo(qlonglong positionUs);

    MP3Database& window_;
};
