#pragma once
// The one serial connection to the unit: finds the unit among the USB serial
// ports, configures the port, queues outgoing messages and runs the link
// thread that writes them one at a time, waits for each answer and hands
// every received chunk to the parent's threadHasMsg on the main thread.
#include "link/MsgClass.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <termios.h>
#include <thread>

class ComThread {
public:
    ComThread();
    ~ComThread();
    ComThread(const ComThread&) = delete;
    ComThread& operator=(const ComThread&) = delete;

    // Finds the unit: every entry of the search directory whose name contains
    // one of the name patterns is opened and probed with "B" until one answers
    // with "C190". 0 when found (the port stays open), -1 otherwise.
    int32_t openUsbSerial();

    // Where the search looks. Defaults: "/dev"; "tty.usbserial" (and
    // "ttyUSB" on Linux).
    void setSearchDirectory(const QString& directory) { searchDirectory_ = directory; }
    void setNamePatterns(const QStringList& patterns) { namePatterns_ = patterns; }
    // A port named explicitly is the only one probed; the search is skipped.
    void setExplicitPort(const QString& path) { explicitPort_ = path; }
    // Replaces the platform's driver check (for tests and other platforms).
    void setDriverCheck(std::function<bool()> check) { driverCheck_ = std::move(check); }
    // Where other programs' lock files are (default /var/lock) and where the
    // USB devices are listed (default /sys/bus/usb/devices).
    void setLockDirectory(const QString& directory) { lockDirectory_ = directory; }
    void setUsbDevices(const QString& directory) { usbDevices_ = directory; }

    // For support: every candidate port and what was found on it (opened
    // or why not, answered the probe or not), and adapters without a port.
    QStringList listPorts();

    void startThread(QObject* parent);
    void stopThread();
    bool isRunning() const { return thread_.joinable(); }

    void sendString(const QString& text);
    void sendBytes(const void* bytes, uint32_t length);
    void sendMidiTrigger(int32_t note);
    QString sendStringPolling(const QString& text);

    void setBaud(int32_t speed);
    int32_t getBaud() const;
    int32_t bytesAvailable() const;
    int txCount() const { return txCount_.load(); }

    int fd() const { return fd_; }
    const QString& com() const { return com_; }

private:
    enum class ProbeResult { Found, CannotOpen, NoAnswer };
    QStringList candidatePorts(bool* directoryRead);
    // Opens and probes one port; on Found it stays open. `reason` says why not.
    ProbeResult probe(const QString& path, QString& reason);
    void enqueue(MsgClass message);
    void run(QObject* parent);

    int fd_ = -1;
    termios sp_ {};
    termios old_sp_ {};
    QString com_;

    QString searchDirectory_ = QStringLiteral("/dev");
    QStringList namePatterns_;
    QString explicitPort_;
    std::function<bool()> driverCheck_;
    QString lockDirectory_ = QStringLiteral("/var/lock");
    QString usbDevices_ = QStringLiteral("/sys/bus/usb/devices");

    std::mutex ioLock_;               // guards txArray_
    std::deque<MsgClass> txArray_;
    std::atomic<int> txCount_ {0};    // size of txArray_, readable without the lock
    std::atomic<bool> abort_ {false};
    std::thread thread_;
};
