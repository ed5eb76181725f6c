#include "MP3Database.h"
#include "SignalCloser.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    int exitCode = 0;
    {
        MP3Database window(argc, argv);
        window.show();
        QObject::connect(&application, &QApplication::lastWindowClosed, &application,
                         &QApplication::quit);
        SignalCloser closeOnSignal(&window);
        exitCode = application.exec();
    }
    return exitCode;
}
