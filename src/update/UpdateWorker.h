#pragma once
// What both update workers share: the serial descriptor they own while they
// run (the link thread is stopped first) and their worker thread.
#include "common/Worker.h"
#include "link/SerialPort.h"

class UpdateWorker {
public:
    explicit UpdateWorker(const char* name)
        : worker_(name)
    {
    }
    virtual ~UpdateWorker() = default;
    UpdateWorker(const UpdateWorker&) = delete;
    UpdateWorker& operator=(const UpdateWorker&) = delete;

    void setFd(int fd) { fd_ = fd; }
    int fd() const { return fd_; }
    bool isRunning() const { return worker_.isRunning(); }
    int bytesAvailable() const { return rz48::serial::bytesWaiting(fd_); }

protected:
    int fd_ = -1;
    rz48::Worker worker_;
};
