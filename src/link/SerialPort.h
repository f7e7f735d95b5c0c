#pragma once
// Helpers around the POSIX serial port that the link needs beyond its own
// algorithm: speed constants, the reasons an open fails, and the platform's
// USB serial driver check.
#include <QString>
#include <QStringList>

#include <termios.h>

namespace rz48::serial {

// Maps a speed in bit/s to the termios constant and back (0 when unknown).
speed_t speedFromBaud(int baud);
int baudFromSpeed(speed_t speed);

// One line saying why opening `path` failed with `error` (an errno value),
// with what the user can do about it.
QString openFailureReason(const QString& path, int error);

// The directory entry names the search looks for, on this platform.
QStringList defaultNamePatterns();

// Whether the platform's FTDI virtual COM port driver is there at all.
// macOS: the driver's kernel extension; Linux: ftdi_sio loaded, or shipped
// with the running kernel as a module or built in.
bool ftdiDriverPresent();

} // namespace rz48::serial
