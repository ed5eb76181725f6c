#include "PlayerTestSupport.h"

#include <QCoreApplication>
#include <QFile>
#include <QSettings>

PlayerSession::PlayerSession(const QVariantMap& settings) {
    hadTmpDir_ = qEnvironmentVariableIsSet("TMPDIR");
    oldTmpDir_ = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(tempDir_.path()));
    QFile::remove(settingsFile());
    if (!settings.isEmpty()) {
        QSettings file(settingsFile(), QSettings::IniFormat);
        for (auto it = settings.begin(); it != settings.end(); ++it) {
            file.setValue(it.key(), it.value());
        }
    }

    // No files on the command line: the player starts empty; the output is the offline one.
    player_ = std::make_unique<MP3Database>(PlayerStartup{"offline", {}});
}

PlayerSession::~PlayerSession() {
    closePlayer();
    QFile::remove(settingsFile());
    if (hadTmpDir_) {
        qputenv("TMPDIR", oldTmpDir_);
    } else {
        qunsetenv("TMPDIR");
    }
}

void PlayerSession::closePlayer() {
    player_.reset();
}

QString PlayerSession::settingsFile() {
    return QCoreApplication::applicationDirPath() + "/settings.ini";
}
