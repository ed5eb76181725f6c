#include "LogFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class LogFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("tamberlo-log-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir_);
        fs::create_directories(dir_);
        path_ = (dir_ / "logfile.html").string();
    }
    void TearDown() override {
        fs::permissions(dir_, fs::perms::owner_all, fs::perm_options::add);
        fs::remove_all(dir_);
    }
    std::string contents() const {
        std::ifstream in(path_, std::ios::binary);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }

    fs::path dir_;
    std::string path_;
};

const std::string styleBlock = "<style type=\"text/css\">\n"
                               "<!--\n"
                               ".red {color: #FF0000;\nfont-size: 12px;\nfont-family: Verdana;}\n"
                               ".blue {color: #0000FF;\nfont-size: 12px;\nfont-family: Verdana;}\n"
                               ".black {color: #000000;\nfont-size: 12px;\nfont-family: Verdana;}\n"
                               "-->\n</style>\n";

size_t count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++n;
    }
    return n;
}

TEST_F(LogFileTest, NewFileGetsStyleBlockCreationLineAndBreaks) {
    LogFile log(path_);
    EXPECT_TRUE(log.enabled());
    const std::string text = contents();
    ASSERT_EQ(text.rfind(styleBlock, 0), 0u) << text;
    const std::string rest = text.substr(styleBlock.size());
    const std::string creating = "Creating " + path_ + " at ";
    ASSERT_EQ(rest.rfind(creating, 0), 0u) << rest;
    const std::regex timeAndBreaks("[0-2][0-9]:[0-5][0-9]:[0-5][0-9]\n<br><br>\n");
    EXPECT_TRUE(std::regex_match(rest.substr(creating.size()), timeAndBreaks)) << rest;
}

TEST_F(LogFileTest, ExistingFileKeepsContentAndGetsSecondHeader) {
    { std::ofstream(path_) << "earlier run\n"; }
    LogFile first(path_);
    first.logLine(0, "between runs");
    LogFile second(path_);
    const std::string text = contents();
    EXPECT_EQ(text.rfind("earlier run\n", 0), 0u);
    EXPECT_EQ(count(text, "Creating " + path_ + " at "), 2u);
    EXPECT_LT(text.find("between runs"), text.rfind("Creating "));
}

TEST_F(LogFileTest, LinesCarryClassTimeAndUnescapedMessage) {
    LogFile log(path_);
    log.logLine(0, "info %d", 7);
    log.logLine(1, "blue line");
    log.logLine(2, "Audio error! (%d) %s %s", 23, "File not found. ", "ctx");
    log.logLine(3, "odd level");
    log.logLine(-1, "negative level");
    log.logLine(0, "a < b && c > d");
    const std::string text = contents();
    const std::string t = "[0-2][0-9]:[0-5][0-9]:[0-5][0-9]";
    for (const auto& [cls, msg] : std::initializer_list<std::pair<std::string, std::string>>{
             {"black", "info 7"},
             {"blue", "blue line"},
             {"red", "Audio error! \\(23\\) File not found\\.  ctx"},
             {"", "odd level"},
             {"", "negative level"},
             {"black", "a < b && c > d"}}) {
        const std::regex line("<span class=\"" + cls + "\">" + t + " " + msg + "</span><br>\n");
        EXPECT_TRUE(std::regex_search(text, line)) << "class '" << cls << "' message " << msg;
    }
}

TEST_F(LogFileTest, LongMessageIsCutTo999Characters) {
    LogFile log(path_);
    const std::string longText(2000, 'x');
    log.logLine(0, "%s", longText.c_str());
    const std::string text = contents();
    const size_t start = text.find("<span class=\"black\">") + 20 + 9; // "HH:MM:SS "
    const size_t end = text.find("</span>", start);
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(end - start, 999u);
}

TEST_F(LogFileTest, UnopenableFileAtStartTurnsLoggingOffForTheRun) {
    if (::geteuid() == 0) {
        // root writes through permissions; a path under a regular file cannot be opened by anyone.
        path_ = (dir_ / "not-a-dir").string();
        std::ofstream(path_) << "x";
        path_ += "/logfile.html";
    } else {
        std::ofstream(path_) << "";
        fs::permissions(path_, fs::perms::owner_read);
    }
    LogFile log(path_);
    EXPECT_FALSE(log.enabled());
    log.logLine(2, "never written"); // a silent no-op, no crash
    EXPECT_FALSE(fs::exists(path_) && contents().find("never written") != std::string::npos);
}

TEST_F(LogFileTest, LineWhoseFileVanishedIsDroppedAndNextOneRetries) {
    LogFile log(path_);
    fs::remove_all(dir_); // the folder is gone: this line cannot be opened
    log.logLine(0, "lost");
    fs::create_directories(dir_);
    log.logLine(0, "kept");
    EXPECT_TRUE(log.enabled());
    const std::string text = contents();
    EXPECT_EQ(text.find("lost"), std::string::npos);
    EXPECT_NE(text.find("kept"), std::string::npos);
}

} // namespace
