#pragma once
// Start-up figures for benchmarks: when TAMBERLO_TRACE_STARTUP holds the time the program was
// executed (seconds since the epoch, as bash's $EPOCHREALTIME gives it), the player prints to
// stderr, once both are known,
//   startup: window-painted MS cpu CPU_MS
//   startup: first-sound MS
// the milliseconds from that time to the first paint of the window (with the process's CPU
// time by then) and to the start of the first audio callback that carried sound. Without the variable nothing is installed.
//
// Threading: GUI thread only.

#include <QObject>

#include <chrono>
#include <memory>

class QWidget;
class SoundEngine;

class StartupTrace : public QObject {
public:
    // A trace of `window` (not owned) playing through `engine` (not owned; both outlive the
    // trace), or null when the variable is not set or not a number.
    static std::unique_ptr<StartupTrace> fromEnvironment(QWidget* window, SoundEngine* engine);
    ~StartupTrace() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    StartupTrace(QWidget* window, SoundEngine* engine, double execSeconds);
    // Milliseconds from exec to the steady_clock time `at`.
    double sinceExec(std::chrono::steady_clock::time_point at) const;

    QWidget* window_;
    SoundEngine* engine_;
    double execSeconds_;
    bool painted_ = false;
    bool done_ = false;
};
