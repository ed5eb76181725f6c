#include "StreamLog.h"

#include "EngineLog.h"

using engine_detail::engineLog;

namespace {

// The log is HTML and a title comes from the server: it must not add markup.
std::string htmlEscaped(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

} // namespace

void StreamLog::update(const audio::StreamStatus& now, const std::string& url) {
    if (now.title != seen_.title && !now.title.empty()) {
        engineLog(0, "Stream title: %s", htmlEscaped(now.title).c_str());
    }
    // Tries are logged by number, so those made between two looks (the GUI thread was busy, or
    // an offline mix waited through them) still get a line each.
    const bool newDrop = now.drops != seen_.drops;
    for (int tryNumber = newDrop ? 1 : seen_.triesAfterDrop + 1; tryNumber <= now.triesAfterDrop;
         ++tryNumber) {
        engineLog(1, "Stream dropped, reconnecting (try %d of %d): %s", tryNumber,
                  now.reconnectTries, url.c_str());
    }
    if (now.drops > 0 && !now.reconnecting && !now.lost && now.triesAfterDrop > 0 &&
        (newDrop || seen_.reconnecting)) {
        engineLog(0, "Stream reconnected: %s", url.c_str());
    }
    if (now.lost && !seen_.lost) {
        engineLog(2, "Stream lost: none of %d reconnect tries worked: %s", now.reconnectTries,
                  url.c_str());
    }
    seen_ = now;
}
