#include "Audio.h"

namespace audio {

Result parseOutputSpec(const std::string& text, OutputSpec* spec) {
    if (spec == nullptr) {
        return Result::InvalidParameter;
    }
    if (text == "sdl") {
        spec->kind = OutputKind::Sdl;
    } else if (text == "null") {
        spec->kind = OutputKind::Null;
    } else if (text == "offline") {
        spec->kind = OutputKind::Offline;
    } else if (text.rfind("wav:", 0) == 0 && text.size() > 4) {
        spec->kind = OutputKind::Wav;
        spec->wavPath = text.substr(4);
    } else {
        return Result::InvalidParameter;
    }
    return Result::Ok;
}

} // namespace audio
