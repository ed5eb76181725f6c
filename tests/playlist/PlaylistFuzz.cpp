// Fuzz target: every input is read as an M3U list, as a PLS list and as a zip archive added to a
// model. Besides crashes it checks the promises the player relies on: a list line only ever
// becomes an absolute path, a path inside the list's folder or an "http://" URL, never holds a
// line break or NUL; an unpacked member always lands directly in the temporary folder.

#include "LogFile.h"
#include "PathText.h"
#include "PlaylistFiles.h"
#include "PlaylistModel.h"

#include <QString>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::string_view ListPath = "/fuzz/lists/x.m3u";
constexpr std::string_view ListFolder = "/fuzz/lists/";

void require(bool condition, const char* what, const std::string& path) {
    if (!condition) {
        std::fprintf(stderr, "broken promise: %s: '%s'\n", what, path.c_str());
        std::abort();
    }
}

void checkListEntries(const std::vector<PlaylistEntry>& entries, bool urlAnyCase) {
    for (const PlaylistEntry& entry : entries) {
        const std::string& path = entry.path;
        require(path.find_first_of(std::string_view("\n\r\0", 3)) == std::string::npos,
                "line break or NUL in path", path);
        const bool url =
            urlAnyCase ? pathtext::startsWithNoCase(path, "http://") : path.starts_with("http://");
        require(url || pathtext::isAbsolutePath(path) || path.starts_with(ListFolder),
                "path neither absolute, in the list folder nor a URL", path);
        require(path.find('\\') == std::string::npos || url, "backslash left in path", path);
    }
}

struct ZipRig {
    fs::path folder;
    std::unique_ptr<LogFile> log;
    std::unique_ptr<PlaylistModel> model;
    std::string archive;
};

ZipRig& zipRig() {
    static ZipRig rig = [] {
        ZipRig made;
        made.folder = fs::temp_directory_path() / ("tamberlo-fuzz-" + std::to_string(::getpid()));
        made.log = std::make_unique<LogFile>("/dev/null");
        PlaylistModel::Options options;
        options.tempFolder = QString::fromStdString((made.folder / "Tamberlo_tmp").string());
        options.lastPlaylistFile = QString::fromStdString((made.folder / "last.m3u").string());
        options.unpackLimits.memberBytes = 1 << 20;
        made.model = std::make_unique<PlaylistModel>(*made.log, options);
        made.archive = (made.folder / "input.zip").string();
        return made;
    }();
    return rig;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    checkListEntries(parseM3u(bytes, ListPath), false);
    checkListEntries(parsePls(bytes, ListPath), true);

    // The folder lives only for one input: libFuzzer ends without running exit handlers.
    ZipRig& rig = zipRig();
    fs::create_directories(rig.folder);
    if (std::FILE* file = std::fopen(rig.archive.c_str(), "wb")) {
        std::fwrite(data, 1, size, file);
        std::fclose(file);
    }
    rig.model->addPaths({QString::fromStdString(rig.archive)});
    const fs::path tempFolder = rig.model->options().tempFolder.toStdString();
    for (const PlaylistEntry& entry : rig.model->entries()) {
        require(fs::path(entry.path).parent_path() == tempFolder, "member outside temp folder",
                entry.path);
    }
    rig.model->clearList(true);
    fs::remove_all(rig.folder);
    return 0;
}
