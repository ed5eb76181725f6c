// libmodplug's ABC loader loses a small block (under 100 bytes) for each tune it loads, inside
// the library where nothing can free it. LeakSanitizer is told to overlook leaks from
// libmodplug only, so that leaks of our own still fail the sanitizer runs.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libmodplug.so\n";
}
