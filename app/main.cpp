#include "MP3Database.h"
#include "MprisService.h"
#include "SignalCloser.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    // Before the window loads anything: a SIGTERM during start-up then waits for it to finish
    // and closes the window the normal way, with settings and playlist saved.
    SignalCloser closer;
    int exitCode = 0;
    {
        MP3Database window(argc, argv);
        window.show();
        const auto mediaControls = startMediaControls(window); // null without a session bus
        QObject::connect(&application, &QApplication::lastWindowClosed, &application,
                         &QApplication::quit);
        closer.closeOnSignal(&window);
        exitCode = application.exec();
    }
    return exitCode;
}
