#pragma once
// Where no session bus is advertised (no DBUS_SESSION_BUS_ADDRESS, no $XDG_RUNTIME_DIR/bus),
// the D-Bus library falls back to "autolaunch": it forks the player and runs dbus-launch to
// start a bus. Qt's accessibility bridge asks for the session bus while the first widgets are
// built, so the window waits for that fork; and without dbus-launch installed it cannot
// succeed at all. In that case the player sets an address that fails at once instead.
//
// Threading: call once from main() before QApplication exists and before any thread starts.

#include <QString>

// The address set when autolaunch cannot work: the bus library rejects it without a fork.
inline constexpr char UnreachableBusAddress[] = "disabled:";

// Sets DBUS_SESSION_BUS_ADDRESS to UnreachableBusAddress when no bus is advertised and
// dbus-launch is neither in /usr/bin nor on PATH; leaves the environment alone otherwise. Returns true when it set
// the address. Does nothing on Windows.
bool preventFutileBusAutolaunch();

// "no session bus is advertised and dbus-launch is missing" when the address is the one
// preventFutileBusAutolaunch() set; empty otherwise.
QString unreachableBusReason();
