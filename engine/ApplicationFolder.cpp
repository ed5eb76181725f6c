#include "ApplicationFolder.h"

#include <QCoreApplication>
#include <QFile>
#include <filesystem>
#include <system_error>

namespace engine_detail {

std::string applicationFolder() {
    if (QCoreApplication::instance() != nullptr) {
        return QFile::encodeName(QCoreApplication::applicationDirPath()).toStdString();
    }
    std::error_code error;
    const auto exe = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string(".") : exe.parent_path().string();
}

} // namespace engine_detail
