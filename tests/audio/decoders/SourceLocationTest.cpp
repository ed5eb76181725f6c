// Which locations are files, URLs or refused, before any decoder runs.
#include "SourceLocation.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace audio {
namespace {

TEST(SourceLocation, ClassifiesAndRefusesLocations) {
    const std::string cwd = std::filesystem::current_path().string();
    const struct {
        std::string path;
        Result result;
        SourceKind kind;
        std::string location;
    } cases[] = {
        {"/music/a.mp3", Result::Ok, SourceKind::LocalFile, "/music/a.mp3"},
        {"song.mp3", Result::Ok, SourceKind::LocalFile, cwd + "/song.mp3"},
        {"file:/music/a.mp3", Result::Ok, SourceKind::LocalFile, "/music/a.mp3"},
        {"file:///music/a.mp3", Result::Ok, SourceKind::LocalFile, "/music/a.mp3"},
        {"FILE:rel.mp3", Result::Ok, SourceKind::LocalFile, cwd + "/rel.mp3"},
        {"/odd/concat:name.mp3", Result::Ok, SourceKind::LocalFile, "/odd/concat:name.mp3"},
        // A relative name that starts like a scheme is refused; "./" makes it a path.
        {"song: live.mp3", Result::ProtocolRefused, SourceKind::LocalFile, ""},
        {"./song: live.mp3", Result::Ok, SourceKind::LocalFile, cwd + "/./song: live.mp3"},
        {"C:/music/a.mp3", Result::Ok, SourceKind::LocalFile, cwd + "/C:/music/a.mp3"},
        {"http://radio.example/stream", Result::Ok, SourceKind::NetworkUrl,
         "http://radio.example/stream"},
        {"HTTPS://radio.example/x", Result::Ok, SourceKind::NetworkUrl, "HTTPS://radio.example/x"},
        {"", Result::FileNotFound, SourceKind::LocalFile, ""},
        {"file:", Result::FileNotFound, SourceKind::LocalFile, ""},
        {"concat:a.mp3|b.mp3", Result::ProtocolRefused, SourceKind::LocalFile, ""},
        {"subfile:,start,0,end,9,:a.mp3", Result::ProtocolRefused, SourceKind::LocalFile, ""},
        {"pipe:0", Result::ProtocolRefused, SourceKind::LocalFile, ""},
        {"rtmp://host/x", Result::ProtocolRefused, SourceKind::LocalFile, ""},
        {"file://host/a.mp3", Result::ProtocolRefused, SourceKind::LocalFile, ""},
    };
    for (const auto& c : cases) {
        DecoderSource source;
        source.path = c.path;
        SourceLocation where;
        ASSERT_EQ(resolveSourceLocation(source, &where), c.result) << c.path;
        if (c.result == Result::Ok) {
            EXPECT_EQ(where.kind, c.kind) << c.path;
            EXPECT_EQ(where.location, c.location) << c.path;
        }
    }
}

TEST(SourceLocation, MemoryBlockWinsOverAnyPath) {
    DecoderSource source;
    source.path = "concat:anything";
    source.memory = std::make_shared<std::vector<uint8_t>>(3, 0);
    SourceLocation where;
    ASSERT_EQ(resolveSourceLocation(source, &where), Result::Ok);
    EXPECT_EQ(where.kind, SourceKind::Memory);
}

} // namespace
} // namespace audio
