#include "MprisService.h"

#include "LogFile.h"
#include "MP3Database.h"
#include "MprisPlayerAdaptor.h"
#include "MprisRootAdaptor.h"
#include "PlayList.h"
#include "SessionBusAddress.h"
#include "ui_MP3Database.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QEvent>

MprisService::MprisService(MP3Database& window)
    : window_(window), root_(new MprisRootAdaptor(this, window)),
      player_(new MprisPlayerAdaptor(this, window)) {}

MprisService::~MprisService() {
    leaveBus();
}

std::optional<QString> MprisService::registerOnSessionBus() {
    if (const QString unreachable = unreachableBusReason(); !unreachable.isEmpty()) {
        return "no session bus (" + unreachable + ")";
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return "no session bus (" + bus.lastError().message() + ")";
    }
    if (!bus.registerObject(ObjectPath, this, QDBusConnection::ExportAdaptors)) {
        return QString("the object path %1 is taken").arg(ObjectPath);
    }
    // Not queued: a second player gets no controls rather than waiting for the first to exit.
    if (!bus.registerService(ServiceName)) {
        bus.unregisterObject(ObjectPath);
        return QString("the name %1 is owned by another process").arg(ServiceName);
    }
    registered_ = true;
    announced_ = player_->announcedProperties();

    connect(&window_, &MP3Database::playbackChanged, this, &MprisService::announceChanges);
    const PlaylistModel* model = &window_.playList().model();
    connect(model, &PlaylistModel::entriesAppended, this, &MprisService::announceChanges);
    connect(model, &PlaylistModel::rowsRemoved, this, &MprisService::announceChanges);
    connect(model, &PlaylistModel::cleared, this, &MprisService::announceChanges);
    connect(model, &PlaylistModel::entryChanged, this, &MprisService::announceChanges);
    // Connected after the window's own handler, so the seek has happened when this runs.
    connect(window_.form().sliderProgress, &QAbstractSlider::sliderReleased, this,
            [this] { emit player_->Seeked(player_->position()); });
    window_.installEventFilter(this);
    return std::nullopt;
}

bool MprisService::eventFilter(QObject* watched, QEvent* event) {
    // Before the window's closeEvent deletes its playlist window and engine.
    if (watched == &window_ && event->type() == QEvent::Close) {
        leaveBus();
    }
    return QObject::eventFilter(watched, event);
}

void MprisService::announceChanges() {
    if (!registered_) {
        return;
    }
    const QVariantMap now = player_->announcedProperties();
    QVariantMap changed;
    for (auto it = now.cbegin(); it != now.cend(); ++it) {
        if (announced_.value(it.key()) != it.value()) {
            changed.insert(it.key(), it.value());
        }
    }
    if (changed.isEmpty()) {
        return;
    }
    announced_ = now;
    QDBusMessage signal = QDBusMessage::createSignal(ObjectPath, "org.freedesktop.DBus.Properties",
                                                     "PropertiesChanged");
    signal << QString("org.mpris.MediaPlayer2.Player") << changed << QStringList();
    QDBusConnection::sessionBus().send(signal);
}

void MprisService::leaveBus() {
    if (!registered_) {
        return;
    }
    registered_ = false;
    window_.removeEventFilter(this);
    disconnect(&window_, nullptr, this, nullptr);
    disconnect(&window_.playList().model(), nullptr, this, nullptr);
    disconnect(window_.form().sliderProgress, nullptr, this, nullptr);
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterService(ServiceName);
    bus.unregisterObject(ObjectPath);
}

std::unique_ptr<MprisService> startMediaControls(MP3Database& window) {
    auto service = std::make_unique<MprisService>(window);
    if (const std::optional<QString> whyNot = service->registerOnSessionBus()) {
        theLogFile->logLine(LogFile::Black, "Media controls (MPRIS) are off: %s",
                            qPrintable(*whyNot));
        return nullptr;
    }
    return service;
}
