#pragma once
// Program modules: shared libraries of this program that hold the parts with heavy library
// dependencies (FFmpeg decoding, the SDL sound device). The programs do not link them; each is
// opened the first time it is needed, so a start that never needs it never loads its
// libraries. A module lies beside the executable (never the current directory, which may be a
// music folder anybody could fill) and exports one C entry point that returns its table; the
// table starts with a uint32_t version, checked on load.
//
// Threading: executableFolder, modulePath and loadProgramModule may be called from any thread;
// a ProgramModule is immutable after loading.

#include "LibraryHandle.h"

#include <cstdint>
#include <memory>
#include <string>

namespace audio {

// The folder of the running executable (/proc/self/exe on Linux; what
// QCoreApplication::applicationDirPath gives, without Qt); "." when it cannot be read. Files
// the programs run code from (program modules, codec plug-ins, the module ripper) are looked up
// there and never in the current directory, which may be a music folder anybody could fill.
std::string executableFolder();

// Where module `name` is looked for: "libtamberlo-NAME.so" beside the executable
// ("tamberlo-NAME.dll" on Windows).
std::string modulePath(const std::string& name);

struct ProgramModule {
    std::unique_ptr<LibraryHandle> library; // opened with stayLoaded: its objects may outlive it
    const void* table = nullptr;            // set when the module loaded and its version fits
    std::string error;                      // why `table` is null, naming the file
};

// Opens module `name` (see modulePath), calls its entry `entryName` (a C function without
// arguments that returns a pointer to the table) and checks the table's leading version
// against `version`. The result's table is null when the file is missing, cannot be loaded,
// lacks the entry, or has another version; error then says which.
ProgramModule loadProgramModule(const std::string& name, const char* entryName, uint32_t version);

} // namespace audio
