#pragma once
// Where the running program lies. Files the player runs code from (codec plug-ins, the module
// ripper) are looked up there and never in the current directory, which may be a music folder
// that anybody could have filled.
//
// Threading: any thread (reads /proc/self/exe).

#include <string>

namespace engine_detail {

// The folder of /proc/self/exe (what QCoreApplication::applicationDirPath gives too, without
// tying the engine to Qt); "." when it cannot be read.
std::string applicationFolder();

} // namespace engine_detail
