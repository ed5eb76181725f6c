#pragma once
// Turns SIGINT and SIGTERM into a close() of one window, so that a logout, Ctrl+C or `kill`
// goes through the same shutdown path as the user closing the window: settings and the
// playlist are saved and the event loop ends with exit code 0.
//
// The handlers are installed before the window exists, so a signal during start-up (while the
// window loads command-line files, unpacks archives or waits for the ripper) no longer ends the
// process at once: it is kept, and the window closes as soon as start-up has finished and the
// event loop runs.
//
// Threading: construct and destroy on the GUI thread. The signal handler only writes one byte
// to a pipe (async-signal-safe); the close happens on the GUI thread when the pipe is read.

#include <QObject>
#include <QPointer>
#include <QWidget>

class QSocketNotifier;

class SignalCloser : public QObject {
    Q_OBJECT
public:
    // Installs the handlers. Needs the application object; only one SignalCloser may exist at a
    // time.
    SignalCloser();
    ~SignalCloser() override;

    // The window that a signal closes, from the event loop. A signal that came before this call
    // closes it too, once the event loop runs.
    void closeOnSignal(QWidget* window);

private:
    void onSignalPipeReadable();

    QPointer<QWidget> window_;
    QSocketNotifier* notifier_ = nullptr;
    bool signalled_ = false; // a signal came before there was a window to close
};
