#include "LogFile.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>

LogFile* theLogFile = nullptr;

namespace {

// The local time of day as "HH:MM:SS".
std::string timeOfDay() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

const char* classForLevel(int level) {
    switch (level) {
    case LogFile::Black:
        return "black";
    case LogFile::Blue:
        return "blue";
    case LogFile::Red:
        return "red";
    default:
        return "";
    }
}

} // namespace

LogFile::LogFile(std::string path) : path_(std::move(path)) {
    std::FILE* file = std::fopen(path_.c_str(), "a");
    if (!file) {
        enabled_ = false;
        return;
    }
    std::fputs("<style type=\"text/css\">\n", file);
    std::fputs("<!--\n", file);
    std::fputs(".red {color: #FF0000;\nfont-size: 12px;\nfont-family: Verdana;}\n", file);
    std::fputs(".blue {color: #0000FF;\nfont-size: 12px;\nfont-family: Verdana;}\n", file);
    std::fputs(".black {color: #000000;\nfont-size: 12px;\nfont-family: Verdana;}\n", file);
    std::fputs("-->\n</style>\n", file);
    std::fprintf(file, "Creating %s at %s\n", path_.c_str(), timeOfDay().c_str());
    std::fputs("<br><br>\n", file);
    std::fclose(file);
}

void LogFile::logLine(int level, const char* format, ...) {
    if (!enabled_) {
        return;
    }
    char message[MaxMessageLength + 1];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);

    std::lock_guard lock(mutex_);
    std::FILE* file = std::fopen(path_.c_str(), "at");
    if (!file) {
        return;
    }
    std::fprintf(file, "<span class=\"%s\">%s %s</span><br>\n", classForLevel(level),
                 timeOfDay().c_str(), message);
    std::fclose(file);
}
