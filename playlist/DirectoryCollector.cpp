#include "DirectoryCollector.h"

#include "LogFile.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

void DirectoryCollector::collect(const QString& folder, QStringList& out) {
    visited_.clear();
    walk(folder, out);
}

void DirectoryCollector::walk(const QString& folder, QStringList& out) {
    const QByteArray nativePath = QFile::encodeName(folder);
    struct stat info {};
    if (::stat(nativePath.constData(), &info) != 0) {
        return; // gone or dangling link: nothing to list
    }
    if (!visited_.emplace(info.st_dev, info.st_ino).second) {
        return; // already walked: a link loop or a second link to the same folder
    }
    const QDir dir(folder);
    if (!dir.isReadable()) {
        log_.logLine(LogFile::Red, "Folder '%s' cannot be read!", nativePath.constData());
        return;
    }
    const QFileInfoList listing =
        dir.entryInfoList(QDir::Dirs | QDir::Files | QDir::Drives | QDir::NoDotAndDotDot,
                          QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& item : listing) {
        if (item.isDir()) {
            walk(folder + '/' + item.fileName(), out);
        }
    }
    for (const QFileInfo& item : listing) {
        if (!item.isDir()) {
            out.append(folder + '/' + item.fileName());
        }
    }
}
