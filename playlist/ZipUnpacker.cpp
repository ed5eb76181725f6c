#include "ZipUnpacker.h"

#include "FileHandle.h"
#include "LogFile.h"
#include "PathText.h"
#include "ZipArchive.h"

#include <QDir>
#include <QFile>
#include <QTemporaryFile>

#include <algorithm>
#include <string_view>
#include <sys/statvfs.h>

namespace {

// Member names are read into a buffer of this size, terminator included.
constexpr size_t MemberNameBufferBytes = 256;
// Longest member file name used in a temporary name, bytes: with "_XXXXXX.tmp" it stays below
// the usual 255-byte limit of one file-name component.
constexpr size_t MaxNameStemBytes = 200;

// The member's file name without its folder part ('/' or '\' separated), cut to
// MaxNameStemBytes without splitting a UTF-8 sequence.
std::string_view memberFileName(std::string_view memberName) {
    const size_t separator = memberName.find_last_of("/\\");
    std::string_view name =
        separator == std::string_view::npos ? memberName : memberName.substr(separator + 1);
    if (name.size() > MaxNameStemBytes) {
        size_t cut = MaxNameStemBytes;
        while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) {
            --cut;
        }
        name = name.substr(0, cut);
    }
    return name;
}

// Free bytes on the file system that holds `folder`, as an unprivileged writer may use them; -1
// when unknown.
std::int64_t freeDiskBytes(const QString& folder) {
    struct statvfs info {};
    if (::statvfs(QFile::encodeName(folder).constData(), &info) != 0) {
        return -1;
    }
    return static_cast<std::int64_t>(info.f_bavail) * static_cast<std::int64_t>(info.f_frsize);
}

} // namespace

ZipArchive ZipArchive::open(const std::string& path) {
    ZipArchive archive;
    if (isRegularFile(path)) {
        archive.handle_.reset(unzOpen64(path.c_str()));
    }
    return archive;
}

ZipUnpacker::ZipUnpacker(LogFile& log, QString tempFolder, Limits limits)
    : log_(log), tempFolder_(std::move(tempFolder)), limits_(limits) {}

void ZipUnpacker::addArchive(const std::string& archivePath, const Append& append) {
    ZipArchive archive = ZipArchive::open(archivePath);
    if (!archive) {
        log_.logLine(LogFile::Red, "'%s' is NOT a zip-file!", archivePath.c_str());
        return;
    }
    QDir().mkpath(tempFolder_);
    archivePath_ = archivePath;
    archiveBytes_ = 0;

    unz_global_info64 info{};
    const int error = unzGetGlobalInfo64(archive.get(), &info);
    if (error != UNZ_OK) {
        log_.logLine(LogFile::Red, "Zip error (%i) on archive '%s'!", error, archivePath.c_str());
        return;
    }
    for (ZPOS64_T member = 0; member < info.number_entry;) {
        QTemporaryFile unpacked;
        if (extractCurrentMember(archive.get(), unpacked) != 0) {
            break;
        }
        ++member;
        // The member just unpacked counts only if the archive can move past it.
        if (member < info.number_entry && unzGoToNextFile(archive.get()) != UNZ_OK) {
            break;
        }
        if (unpacked.fileName().isEmpty()) {
            continue;
        }
        PlaylistEntry entry;
        entry.path =
            pathtext::withForwardSlashes(QFile::encodeName(unpacked.fileName()).toStdString());
        entry.title = pathtext::afterLastSlash(entry.path);
        if (!append(std::move(entry))) {
            break; // the playlist is full; auto-removal takes the file
        }
        unpacked.setAutoRemove(false);
    }
}

int ZipUnpacker::extractCurrentMember(unzFile archive, QTemporaryFile& out) {
    char memberName[MemberNameBufferBytes] = {};
    unz_file_info64 info{};
    int error = unzGetCurrentFileInfo64(archive, &info, memberName, sizeof memberName - 1, nullptr,
                                        0, nullptr, 0);
    if (error != UNZ_OK) {
        log_.logLine(LogFile::Red, "Error %d with zipfile in unzGetCurrentFileInfo\n", error);
        return error;
    }
    error = unzOpenCurrentFile(archive);
    if (error != UNZ_OK) {
        log_.logLine(LogFile::Red, "Zip error (%i) on file '%s'!", error, memberName);
        return error;
    }
    const std::string_view fileName = memberFileName(memberName);
    if (fileName.empty()) {
        return 0; // empty name or folder member: nothing to unpack
    }
    // What the archive declares is checked first, so a member that cannot fit is not started.
    diskAllowance_ = 0;
    const std::int64_t declared = static_cast<std::int64_t>(
        std::min<ZPOS64_T>(info.uncompressed_size, static_cast<ZPOS64_T>(INT64_MAX / 2)));
    if (const Over over = passedLimit(declared, declared); over != Over::Nothing) {
        logPassedLimit(over, memberName);
        return -1;
    }
    diskAllowance_ = 0; // look again once the bytes really come
    out.setFileTemplate(
        tempFolder_ + '/' +
        QFile::decodeName(QByteArray(fileName.data(), static_cast<qsizetype>(fileName.size()))) +
        QStringLiteral("_XXXXXX.tmp"));
    if (!out.open()) {
        const QString name = out.fileName().isEmpty() ? out.fileTemplate() : out.fileName();
        log_.logLine(LogFile::Red, "Couldn't write unpacked file to disk: (%s)!",
                     QFile::encodeName(name).constData());
        return -1;
    }
    return copyMember(archive, out, memberName);
}

int ZipUnpacker::copyMember(unzFile archive, QTemporaryFile& out, const char* memberName) {
    char buffer[CopyBufferBytes];
    std::int64_t total = 0;
    for (;;) {
        const int count = unzReadCurrentFile(archive, buffer, sizeof buffer);
        if (count < 0) {
            log_.logLine(LogFile::Red, "Zip error (%i) on file '%s'!", count, memberName);
            return count;
        }
        if (count == 0) {
            break;
        }
        total += count;
        // The declared size may lie; the bytes actually produced are what count.
        if (const Over over = passedLimit(total, count); over != Over::Nothing) {
            logPassedLimit(over, memberName);
            return -1;
        }
        if (out.write(buffer, count) != count) {
            log_.logLine(LogFile::Red, "Zip error (%i) on file '%s'!", count, memberName);
            return -1;
        }
    }
    // Buffered bytes that cannot reach the disk (disk full) fail here.
    if (!out.flush()) {
        log_.logLine(LogFile::Red, "Zip error (%i) on file '%s'!", -1, memberName);
        return -1;
    }
    out.close();
    // A damaged stored member reads without error; only its checksum shows the damage.
    const int check = unzCloseCurrentFile(archive);
    if (check != UNZ_OK) {
        log_.logLine(LogFile::Red, "Zip error (%i) on file '%s'!", check, memberName);
        return check;
    }
    archiveBytes_ += total;
    runBytes_ += total;
    return 0;
}

ZipUnpacker::Over ZipUnpacker::passedLimit(std::int64_t memberBytes, std::int64_t newBytes) {
    if (memberBytes > limits_.memberBytes) {
        return Over::Member;
    }
    if (archiveBytes_ + memberBytes > limits_.archiveBytes) {
        return Over::Archive;
    }
    if (runBytes_ + memberBytes > limits_.runBytes) {
        return Over::Run;
    }
    diskAllowance_ -= newBytes;
    if (diskAllowance_ < 0) {
        const std::int64_t free = freeDiskBytes(tempFolder_);
        if (free < 0) { // unknown: the write itself will tell
            diskAllowance_ = DiskCheckBytes;
            return Over::Nothing;
        }
        const std::int64_t allowed = free - limits_.minFreeDiskBytes - newBytes;
        if (allowed < 0) {
            return Over::Disk;
        }
        diskAllowance_ = std::min(allowed, DiskCheckBytes);
    }
    return Over::Nothing;
}

void ZipUnpacker::logPassedLimit(Over over, const char* memberName) {
    switch (over) {
    case Over::Member:
        log_.logLine(LogFile::Red, "Zip member '%s' is larger than %lld bytes; not unpacked!",
                     memberName, static_cast<long long>(limits_.memberBytes));
        break;
    case Over::Archive:
        log_.logLine(LogFile::Red,
                     "Zip archive '%s' unpacks to more than %lld bytes; '%s' and later members "
                     "not unpacked!",
                     archivePath_.c_str(), static_cast<long long>(limits_.archiveBytes),
                     memberName);
        break;
    case Over::Run:
        log_.logLine(LogFile::Red,
                     "Unpacked zip members reached %lld bytes; '%s' and later members not "
                     "unpacked!",
                     static_cast<long long>(limits_.runBytes), memberName);
        break;
    case Over::Disk:
        log_.logLine(LogFile::Red,
                     "Less than %lld bytes would be left free in '%s'; '%s' and later members "
                     "not unpacked!",
                     static_cast<long long>(limits_.minFreeDiskBytes),
                     QFile::encodeName(tempFolder_).constData(), memberName);
        break;
    case Over::Nothing:
        break;
    }
}
