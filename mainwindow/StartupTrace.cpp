#include "StartupTrace.h"

#include "SoundEngine.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

#include <cstdio>
#include <ctime>

std::unique_ptr<StartupTrace> StartupTrace::fromEnvironment(QWidget* window, SoundEngine* engine) {
    bool number = false;
    const double exec = qEnvironmentVariable("TAMBERLO_TRACE_STARTUP").toDouble(&number);
    if (!number) {
        return nullptr;
    }
    return std::unique_ptr<StartupTrace>(new StartupTrace(window, engine, exec));
}

StartupTrace::StartupTrace(QWidget* window, SoundEngine* engine, double execSeconds)
    : window_(window), engine_(engine), execSeconds_(execSeconds) {
    // Every event of the application passes here until both figures are printed: the first
    // sound is only learnt by asking, and events come many times a second while playing.
    QCoreApplication::instance()->installEventFilter(this);
}

StartupTrace::~StartupTrace() {
    QCoreApplication::instance()->removeEventFilter(this);
}

double StartupTrace::sinceExec(std::chrono::steady_clock::time_point at) const {
    using namespace std::chrono;
    const double wall = duration<double>(system_clock::now().time_since_epoch()).count() -
                        duration<double>(steady_clock::now() - at).count();
    return (wall - execSeconds_) * 1000.0;
}

bool StartupTrace::eventFilter(QObject* watched, QEvent* event) {
    if (done_) {
        return false;
    }
    if (!painted_ && watched == window_ && event->type() == QEvent::Paint) {
        painted_ = true;
        // With the CPU time used so far: on a busy machine the wall time says little.
        std::fprintf(stderr, "startup: window-painted %.1f cpu %.1f\n",
                     sinceExec(std::chrono::steady_clock::now()),
                     1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC);
    }
    const audio::System* system = engine_->getSystem();
    const std::int64_t sound = system != nullptr ? system->firstSoundTime() : 0;
    if (painted_ && sound != 0) {
        const std::chrono::steady_clock::time_point at{std::chrono::steady_clock::duration(sound)};
        std::fprintf(stderr, "startup: first-sound %.1f\n", sinceExec(at));
        done_ = true;
    }
    return false;
}
