#pragma once
// The player window as an MPRIS2 media player on the session bus: the name
// org.mpris.MediaPlayer2.tamberlo with the root and Player interfaces at /org/mpris/MediaPlayer2.
// It follows the window's playbackChanged() signal and its playlist's signals and announces
// what changed with org.freedesktop.DBus.Properties.PropertiesChanged, and a seek with Seeked.
// When the window closes it leaves the bus, so no call reaches a window that is shutting down.
//
// Threading: GUI thread only.

#include <QObject>
#include <QString>
#include <QVariantMap>

#include <memory>
#include <optional>

class MP3Database;
class MprisPlayerAdaptor;
class MprisRootAdaptor;

class MprisService : public QObject {
    Q_OBJECT
public:
    static constexpr const char* ServiceName = "org.mpris.MediaPlayer2.tamberlo";
    static constexpr const char* ObjectPath = "/org/mpris/MediaPlayer2";

    // The window must outlive the service. Nothing is on the bus until registerOnSessionBus().
    explicit MprisService(MP3Database& window);
    ~MprisService() override;
    MprisService(const MprisService&) = delete;
    MprisService& operator=(const MprisService&) = delete;

    // Exports the interfaces and takes the bus name. Returns why not (no session bus, the name
    // is owned by another process) and leaves nothing behind in that case.
    std::optional<QString> registerOnSessionBus();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Sends PropertiesChanged with the Player properties that differ from the last ones sent.
    void announceChanges();
    void leaveBus();

    MP3Database& window_;
    MprisRootAdaptor* root_;     // owned by this object, as QtDBus adaptors are
    MprisPlayerAdaptor* player_; // likewise
    QVariantMap announced_;      // Player properties as last announced
    bool registered_ = false;
};

// Creates the service for `window` and registers it; without a session bus, or when another
// process holds the name, logs one line and returns null: the player runs without media controls.
std::unique_ptr<MprisService> startMediaControls(MP3Database& window);
