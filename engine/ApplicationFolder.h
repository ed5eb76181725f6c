#pragma once
// Where the running program lies. Files the player runs code from (codec plug-ins, the module
// ripper) are looked up there and never in the current directory, which may be a music folder
// that anybody could have filled.
//
// Threading: any thread (reads the application object's path or /proc/self/exe).

#include <string>

namespace engine_detail {

// QCoreApplication::applicationDirPath() when an application object exists, else the folder of
// /proc/self/exe; "." when neither can be read.
std::string applicationFolder();

} // namespace engine_detail
