#include "MP3Database.h"

#include "LogFile.h"

#include <QCoreApplication>
#include <QDir>

MP3Database::MP3Database(int argc, char* argv[], QWidget* parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags) {
    const QString logPath =
        QCoreApplication::applicationDirPath() + QDir::separator() + "logfile.html";
    if (!theLogFile) {
        theLogFile = new LogFile(logPath.toLocal8Bit().toStdString());
    }
    setWindowTitle("Tamberlo");
    for (int i = 1; i < argc; ++i) {
        commandLineFiles_ << QString::fromLocal8Bit(argv[i]);
    }
}

MP3Database::~MP3Database() = default;
