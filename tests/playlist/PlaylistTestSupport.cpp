#include "PlaylistTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <zip.h>

namespace fs = std::filesystem;

namespace playlisttest {

ScratchFolder::ScratchFolder() {
    std::string name = (fs::temp_directory_path() / "tamberlo-playlist-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw fs::filesystem_error("cannot make a scratch folder", name, std::error_code());
    }
    path_ = name;
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string ScratchFolder::write(const std::string& name, const std::string& bytes) const {
    const fs::path file = path_ / name;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
    return file.string();
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<LogMessage> logMessages(const std::string& logPath) {
    // Lines look like <span class="red">HH:MM:SS message</span><br>\n; messages may hold "\n".
    static const std::regex line(
        R"re(<span class="(\w*)">\d\d:\d\d:\d\d ([\s\S]*?)</span><br>\n)re");
    const std::string text = readFile(logPath);
    std::vector<LogMessage> messages;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), line);
         it != std::sregex_iterator(); ++it) {
        messages.push_back({(*it)[1], (*it)[2]});
    }
    return messages;
}

int runIn(const fs::path& folder, const std::string& command) {
    const std::string line = "cd '" + folder.string() + "' && " + command;
    return std::system(line.c_str());
}

std::vector<std::string> filesIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& item : fs::directory_iterator(folder, ignored)) {
        if (item.is_regular_file()) {
            names.push_back(item.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

ModelRig::ModelRig(ZipUnpacker::Limits unpackLimits)
    : logPath((folder.path() / "logfile.html").string()),
      tempFolder(folder.path() / "systemp" / "Tamberlo_tmp"), log(logPath) {
    PlaylistModel::Options options;
    options.tempFolder = QString::fromStdString(tempFolder.string());
    options.lastPlaylistFile = QString::fromStdString((folder.path() / "last.m3u").string());
    options.unpackLimits = unpackLimits;
    model = std::make_unique<PlaylistModel>(log, options);
    QObject::connect(model.get(), &PlaylistModel::entriesAppended, [this](int first, int count) {
        signalsSeen.push_back("appended " + std::to_string(first) + " " + std::to_string(count));
    });
    QObject::connect(model.get(), &PlaylistModel::rowsRemoved, [this](int first, int count) {
        signalsSeen.push_back("removed " + std::to_string(first) + " " + std::to_string(count));
    });
    QObject::connect(model.get(), &PlaylistModel::cleared,
                     [this] { signalsSeen.push_back("cleared"); });
    QObject::connect(model.get(), &PlaylistModel::entryChanged,
                     [this](int row) { signalsSeen.push_back("changed " + std::to_string(row)); });
}

void writeZip(const std::string& path,
              const std::vector<std::pair<std::string, std::string>>& members) {
    zipFile archive = zipOpen64(path.c_str(), APPEND_STATUS_CREATE);
    ASSERT_NE(archive, nullptr);
    for (const auto& [name, data] : members) {
        zip_fileinfo info{};
        ASSERT_EQ(zipOpenNewFileInZip64(archive, name.c_str(), &info, nullptr, 0, nullptr, 0,
                                        nullptr, Z_DEFLATED, Z_DEFAULT_COMPRESSION, 0),
                  ZIP_OK);
        ASSERT_EQ(zipWriteInFileInZip(archive, data.data(), static_cast<unsigned>(data.size())),
                  ZIP_OK);
        ASSERT_EQ(zipCloseFileInZip(archive), ZIP_OK);
    }
    ASSERT_EQ(zipClose(archive, nullptr), ZIP_OK);
}

TitlesAndPaths titlesAndPaths(const std::vector<PlaylistEntry>& entries) {
    TitlesAndPaths out;
    for (const PlaylistEntry& entry : entries) {
        out.emplace_back(entry.title, entry.path);
    }
    return out;
}

} // namespace playlisttest
