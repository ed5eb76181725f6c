#include "EngineLog.h"

#include "LogFile.h"

#include <cstdarg>
#include <cstdio>

namespace engine_detail {

void engineLog(int level, const char* format, ...) {
    if (theLogFile == nullptr) {
        return;
    }
    char message[LogFile::MaxMessageLength + 1];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);
    theLogFile->logLine(level, "%s", message);
}

} // namespace engine_detail
