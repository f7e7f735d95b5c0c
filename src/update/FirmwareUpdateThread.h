#pragma once
// Rewrites the unit's FPGA configuration flash from an .mcs file: waits for
// the unit to erase the flash and say "ready", then relays the file's lines
// in batches of at most 1021 characters and requires each batch echoed back
// exactly. Owns the serial descriptor while it runs.
#include <QObject>
#include <QStringList>

#include <atomic>
#include <mutex>
#include <thread>

class FirmwareUpdateThread {
public:
    FirmwareUpdateThread() = default;
    ~FirmwareUpdateThread();
    FirmwareUpdateThread(const FirmwareUpdateThread&) = delete;
    FirmwareUpdateThread& operator=(const FirmwareUpdateThread&) = delete;

    void setFd(int fd) { fd_ = fd; }
    int fd() const { return fd_; }
    void setArray(const QStringList& lines);
    std::mutex& ioLock() { return ioLock_; }

    // -1 without a descriptor or lines (an empty file is fine), or while a
    // worker runs; else 0.
    int startThread(QObject* parent);
    void stopThread();
    bool isRunning() const { return thread_.joinable(); }
    int bytesAvailable() const;

private:
    void run(QObject* parent);

    int fd_ = -1;
    QStringList array_;
    bool haveArray_ = false;
    std::mutex ioLock_;
    std::atomic<bool> abort_ {false};
    std::thread thread_;
};
