#pragma once
// The org.mpris.MediaPlayer2 interface: who the player is, what it opens, and Raise and Quit
// on the player window. The track list and full-screen parts of the interface are not offered.
//
// Threading: GUI thread only (QtDBus delivers calls there).

#include <QDBusAbstractAdaptor>
#include <QString>
#include <QStringList>

class MP3Database;

class MprisRootAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ canQuit)
    Q_PROPERTY(bool CanRaise READ canRaise)
    Q_PROPERTY(bool HasTrackList READ hasTrackList)
    Q_PROPERTY(QString Identity READ identity)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry)
    Q_PROPERTY(QStringList SupportedUriSchemes READ supportedUriSchemes)
    Q_PROPERTY(QStringList SupportedMimeTypes READ supportedMimeTypes)

public:
    // `exported` is the object registered on the bus (the adaptor's parent); the window must
    // outlive the adaptor.
    MprisRootAdaptor(QObject* exported, MP3Database& window);

    bool canQuit() const { return true; }
    bool canRaise() const { return true; }
    bool hasTrackList() const { return false; }
    QString identity() const { return QStringLiteral("Tamberlo"); }
    QString desktopEntry() const { return QStringLiteral("tamberlo"); }
    // file, http and https: what OpenUri and the playlist accept.
    QStringList supportedUriSchemes() const;
    // The common audio types and the tracker-module types the decoders open.
    QStringList supportedMimeTypes() const;

public slots:
    // Shows the window in front, restored if it was minimised.
    void Raise();
    // Closes the window the way its Quit button does (settings and playlist saved), after this
    // call has been answered.
    void Quit();

private:
    MP3Database& window_;
};
