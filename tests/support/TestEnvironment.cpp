// Sets the environment every test binary expects, before main() runs, unless the caller has
// already set it: the application folder, the generated media, offscreen widgets and the
// offline audio output. Values come from the build (see cmake/TamberloTesting.cmake).
#include <cstdlib>

namespace {

void setDefault(const char* name, const char* value) {
#ifdef _WIN32
    if (!std::getenv(name)) {
        _putenv_s(name, value);
    }
#else
    ::setenv(name, value, 0);
#endif
}

struct TestEnvironment {
    TestEnvironment() {
        setDefault("TAMBERLO_APP_DIR", TAMBERLO_TEST_APP_DIR);
        setDefault("TAMBERLO_TEST_MEDIA", TAMBERLO_TEST_MEDIA_DIR);
        setDefault("QT_QPA_PLATFORM", "offscreen");
        setDefault("TAMBERLO_OUTPUT", "offline");
    }
} const testEnvironment;

} // namespace
