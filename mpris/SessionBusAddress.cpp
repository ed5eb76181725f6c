#include "SessionBusAddress.h"

#include <QFileInfo>
#include <QStandardPaths>

bool preventFutileBusAutolaunch() {
#ifdef Q_OS_WIN
    return false;
#else
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
        return false;
    }
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo::exists(runtime + "/bus")) {
        return false; // the library finds this bus itself
    }
    // The library runs dbus-launch from its own install folder first, then from PATH.
    if (!QStandardPaths::findExecutable("dbus-launch", {"/usr/bin"}).isEmpty() ||
        !QStandardPaths::findExecutable("dbus-launch").isEmpty()) {
        return false; // autolaunch may work: leave it to the library
    }
    return qputenv("DBUS_SESSION_BUS_ADDRESS", UnreachableBusAddress);
#endif
}

QString unreachableBusReason() {
    if (qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS") != UnreachableBusAddress) {
        return {};
    }
    return "no session bus is advertised and dbus-launch is missing";
}
