#pragma once
// The one serial connection to the unit: finds the unit among the USB serial
// ports, configures the port, queues outgoing messages and runs the link
// thread that writes them one at a time, waits for each answer and hands
// every received chunk to the parent's threadHasMsg on the main thread.
#include "common/Worker.h"
#include "link/MsgClass.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <termios.h>

class ComThread {
public:
    ComThread();
    ~ComThread();

    // Finds the unit: every entry of the search directory whose name contains
    // one of the name patterns is opened and probed with "B" until one answers
    // with "C190". 0 when found (the port stays open), -1 otherwise.
    int32_t openUsbSerial();

    // Where the search looks. Defaults: "/dev"; "tty.usbserial" (and
    // "ttyUSB" on Linux).
    void setSearchDirectory(const QString& directory) { searchDirectory_ = directory; }
    // A port named explicitly is the only one probed; the search is skipped.
    void setExplicitPort(const QString& path) { explicitPort_ = path; }
    // Replaces the platform's driver check (for tests and other platforms);
    // none restores it: on Linux, an FTDI adapter with no driver bound.
    void setDriverCheck(std::function<bool()> check) { driverCheck_ = std::move(check); }
    // Where the serial ports' devices are described (default /sys/class/tty).
    void setSysClassTty(const QString& directory) { sysClassTty_ = directory; }
    // Where other programs' lock files are (default /var/lock) and where the
    // USB devices are listed (default /sys/bus/usb/devices).
    void setLockDirectory(const QString& directory) { lockDirectory_ = directory; }
    void setUsbDevices(const QString& directory) { usbDevices_ = directory; }

    // For support: every candidate port and what was found on it (opened
    // or why not, answered the probe or not, skipped as another vendor's
    // adapter), and adapters without a port.
    // The ports where a unit answered go into `answering`, and the version
    // each one's "k" report names into `versions` (empty when none).
    QStringList listPorts(QStringList* answering = nullptr, QStringList* versions = nullptr);
    // What the last search found, in the listing's words, without probing again.
    const QStringList& searchReport() const { return searchReport_; }
    // The ports the last search opened that did not answer.
    const QStringList& silentPorts() const { return silentPorts_; }

    enum class ProbeResult { Found, CannotOpen, NoAnswer };
    // The ports a search tries: the explicit port, or the entries of the
    // search directory named like a USB serial adapter, less those of another
    // vendor than FTDI (never written to). False in `directoryRead` when the
    // directory cannot be read.
    QStringList candidatePorts(bool* directoryRead);
    // The listing's line for a port and what its probe found.
    static QString portLine(const QString& path, ProbeResult result, const QString& reason);
    // Opens and probes one port; on Found it becomes the link's port.
    ProbeResult tryPort(const QString& path, QString& reason);
    // The full path of the port in use, and the USB serial number behind it.
    const QString& portPath() const { return portPath_; }
    const QString& usbSerial() const { return usbSerial_; }

    // The link thread saw the port go away (hang-up, or the device gone);
    // the commands still queued then were dropped and counted.
    bool lost() const { return port_->lost.load(); }
    int droppedCommands() const { return port_->dropped.load(); }
    // Commands in a row that got no answer within the wait.
    int unanswered() const { return port_->unanswered.load(); }
    // The transmit queue holds at most this many messages; more are refused.
    static constexpr int kMaxQueued = 10000;

    void startThread(QObject* parent);
    void stopThread();
    // Stops the link thread and closes the port, so that it can be probed afresh.
    void closePort();
    bool isRunning() const { return worker_.isRunning(); }

    void sendString(const QString& text);
    void sendBytes(const void* bytes, uint32_t length);
    void sendMidiTrigger(int32_t note);
    QString sendStringPolling(const QString& text);

    // Called on the queuing thread with the bytes of every message queued
    // for the unit (a copy for a listener such as a shadow of the unit).
    void setSendTap(std::function<void(const QByteArray&)> tap) { sendTap_ = std::move(tap); }

    void setBaud(int32_t speed);
    int32_t getBaud() const;
    int32_t bytesAvailable() const;
    int txCount() const { return port_->txCount.load(); }

    int fd() const { return port_->fd; }
    const QString& com() const { return com_; }

private:
    // The open port and its transmit queue: everything the link thread uses,
    // shared with it, so that a thread left to finish on its own never
    // touches the ComThread. The port is closed when the last holder lets go:
    // never under a thread still running.
    struct Port {
        explicit Port(int descriptor)
            : fd(descriptor)
        {
        }
        ~Port();
        Port(const Port&) = delete;
        Port& operator=(const Port&) = delete;

        const int fd;                    // -1: no port
        std::mutex ioLock;               // guards txArray
        std::deque<MsgClass> txArray;
        std::atomic<int> txCount {0};    // size of txArray, readable without the lock
        std::atomic<bool> lost {false};
        std::atomic<int> dropped {0};
        std::atomic<int> unanswered {0};
    };

    bool driverMissing() const;
    // Opens and probes one port; on Found it stays open. `reason` says why not.
    ProbeResult probe(const QString& path, QString& reason);
    // Makes `fd` (or -1: none) the port; the one held so far is let go.
    void adoptPort(int fd);
    void enqueue(MsgClass message);
    static void run(Port& port, rz48::WorkerContext& context);

    std::shared_ptr<Port> port_ = std::make_shared<Port>(-1);
    termios sp_ {};
    termios old_sp_ {};
    QString com_;
    QString portPath_;
    QString usbSerial_;
    QStringList searchReport_;
    QStringList silentPorts_;
    QStringList skipped_; // candidates of another vendor, with why

    QString searchDirectory_ = QStringLiteral("/dev");
    QStringList namePatterns_;
    QString explicitPort_;
    std::function<void(const QByteArray&)> sendTap_;
    std::function<bool()> driverCheck_;
    QString lockDirectory_ = QStringLiteral("/var/lock");
    QString usbDevices_ = QStringLiteral("/sys/bus/usb/devices");
    QString sysClassTty_ = QStringLiteral("/sys/class/tty");

    rz48::Worker worker_ {"link thread"};
};
