// tamberlo-rip FILE: the module ripper on its own. Prints the ripper's console messages and
// writes the last module it converts as "-1.mod" into the current directory. Exit status 0
// after a scan (whether or not anything was found), 255 when the file could not be scanned.
#include "RipFile.h"

int main(int argc, char** argv) {
    // With a wrong argument count the usage line names the program itself.
    const char* path = argc == 2 ? argv[1] : argv[0];
    return ripFile(argc, path) < 0 ? 255 : 0;
}
