#include "MprisRootAdaptor.h"

#include "MP3Database.h"

MprisRootAdaptor::MprisRootAdaptor(QObject* exported, MP3Database& window)
    : QDBusAbstractAdaptor(exported), window_(window) {}

QStringList MprisRootAdaptor::supportedUriSchemes() const {
    return {"file", "http", "https"};
}

QStringList MprisRootAdaptor::supportedMimeTypes() const {
    return {"audio/mpeg",    "audio/flac",      "audio/x-flac",    "audio/ogg",
            "audio/vorbis",  "audio/opus",      "audio/wav",       "audio/x-wav",
            "audio/aac",     "audio/mp4",       "audio/x-m4a",     "audio/x-ms-wma",
            "audio/aiff",    "audio/x-aiff",    "audio/x-mod",     "audio/x-s3m",
            "audio/x-xm",    "audio/x-it",      "audio/prs.sid",   "audio/x-mpegurl",
            "audio/x-scpls", "application/zip", "application/gzip"};
}

void MprisRootAdaptor::Raise() {
    if (window_.isMinimized()) {
        window_.showNormal();
    }
    window_.show();
    window_.raise();
    window_.activateWindow();
}

void MprisRootAdaptor::Quit() {
    // Queued: closing unregisters this object, which must not happen inside its own call.
    QMetaObject::invokeMethod(&window_, &QWidget::close, Qt::QueuedConnection);
}
