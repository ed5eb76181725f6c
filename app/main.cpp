#include "MP3Database.h"
#include "SignalCloser.h"

#include <QApplication>

#include <malloc.h>

int main(int argc, char* argv[]) {
    // Each thread that allocates would get a malloc arena of its own, keeping what it freed;
    // the player's few worker threads share two.
    mallopt(M_ARENA_MAX, 2);
    // The player's repaints are a few rows of the level meter 50 times a second; with X shared
    // memory each one waits for the server's answer, which costs more than sending the pixels.
    if (!qEnvironmentVariableIsSet("QT_XCB_NO_MITSHM")) {
        qputenv("QT_XCB_NO_MITSHM", "1");
    }
    QApplication application(argc, argv);
    // Before the window loads anything: a SIGTERM during start-up then waits for it to finish
    // and closes the window the normal way, with settings and playlist saved.
    SignalCloser closer;
    int exitCode = 0;
    {
        MP3Database window(argc, argv);
        window.show();
        QObject::connect(&application, &QApplication::lastWindowClosed, &application,
                         &QApplication::quit);
        closer.closeOnSignal(&window);
        exitCode = application.exec();
    }
    return exitCode;
}
