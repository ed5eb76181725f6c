#include "Audio.h"

namespace audio {

Result parseOutputSpec(const std::string& text, OutputSpec* outputSpec) {
    if (outputSpec == nullptr) {
        return Result::InvalidParameter;
    }
    if (text == "sdl") {
        outputSpec->kind = OutputKind::Sdl;
    } else if (text == "null") {
        outputSpec->kind = OutputKind::Null;
    } else if (text == "offline") {
        outputSpec->kind = OutputKind::Offline;
    } else if (text.rfind("wav:", 0) == 0 && text.size() > 4) {
        outputSpec->kind = OutputKind::Wav;
        outputSpec->wavPath = text.substr(4);
    } else {
        return Result::InvalidParameter;
    }
    return Result::Ok;
}

} // namespace audio
