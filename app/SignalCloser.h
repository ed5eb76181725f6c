#pragma once
// Turns SIGINT and SIGTERM into a close() of one window, so that a logout, Ctrl+C or `kill`
// goes through the same shutdown path as the user closing the window: settings and the
// playlist are saved and the event loop ends with exit code 0.
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
    // Installs the handlers. Only one SignalCloser may exist at a time.
    explicit SignalCloser(QWidget* windowToClose);
    ~SignalCloser() override;

private:
    void onSignalPipeReadable();

    QPointer<QWidget> window_;
    QSocketNotifier* notifier_ = nullptr;
};
