#pragma once
// Helpers around the POSIX serial port that the link needs beyond its own
// algorithm: speed constants, the reasons an open fails, and the platform's
// USB serial driver check.
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstddef>
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

// A worker's own descriptor for a port: a duplicate, closed when the worker
// ends, so that the port stays open under a worker left to finish on its own
// even when the original is closed (the original itself when no duplicate can
// be had).
struct PortHandle {
    explicit PortHandle(int port);
    ~PortHandle();
    PortHandle(const PortHandle&) = delete;
    PortHandle& operator=(const PortHandle&) = delete;

    int fd;
    bool owned;
};

// Bytes waiting to be read on `fd`; 0 when the query fails (after a
// hang-up it does), so no read burst can loop forever.
int bytesWaiting(int fd);
// Writes all of `size` bytes, retrying a full output buffer (the unit
// holding CTS) after `pauseUs`, at most `maxTries` times (0: until `abort`
// is set). False when the bytes did not all go.
bool writeAll(int fd, const char* data, size_t size, int maxTries, unsigned pauseUs,
              const std::atomic<bool>* abort = nullptr);

// Who holds a port by the lock-file convention (LCK..<name> in `lockDir`,
// holding the PID of a running process): "process 1234 (minicom)"; empty
// when nobody does.
QString lockFileHolder(const QString& path, const QString& lockDir);
// Who holds an advisory lock on the open port `fd`, from /proc/locks.
QString flockHolder(int fd);
// The busy line for a port that another program holds.
QString busyReason(const QString& path, const QString& holder);

// FTDI USB serial adapters that are plugged in but have no serial port,
// because another driver or service holds them: one line each, saying what
// to do. `sysfsDevices` is /sys/bus/usb/devices.
QStringList claimedAdapters(const QString& sysfsDevices);
// Whether an FTDI USB serial adapter is plugged in with no driver bound to
// it (the case for installing the driver). `sysfsDevices` as above.
bool unboundFtdiAdapter(const QString& sysfsDevices);

// What is behind a serial port, where the platform says: on Linux, the USB
// device of a ttyUSB/ttyACM port read from sysfs (`sysClassTty` is
// /sys/class/tty); elsewhere, and for a port with no USB device behind it (a
// pseudo-terminal, a symbolic link to one), nothing.
struct UsbIdentity {
    bool usb = false;
    QString vendor;  // "0403" for FTDI
    QString product;
    QString serial;
};
UsbIdentity usbIdentity(const QString& portPath, const QString& sysClassTty);
inline constexpr const char* kFtdiVendor = "0403";

// The line for a search that found no candidate entry at all.
QString noAdapterLine(const QString& directory, const QStringList& patterns);

} // namespace rz48::serial
