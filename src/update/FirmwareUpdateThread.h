#pragma once
// Rewrites the unit's FPGA configuration flash from an .mcs file: waits for
// the unit to erase the flash and say "ready", then relays the file's lines
// in batches of at most 1021 characters and requires each batch echoed back
// exactly. Owns the serial descriptor while it runs.
#include "update/UpdateWorker.h"

#include <QObject>
#include <QStringList>

#include <memory>
#include <mutex>

class FirmwareUpdateThread : public UpdateWorker {
public:
    FirmwareUpdateThread()
        : UpdateWorker("firmware update thread")
    {
    }
    ~FirmwareUpdateThread() override;

    void setArray(const QStringList& lines);
    std::mutex& ioLock() { return lines_->lock; }

    // -1 without a descriptor or lines (an empty file is fine), or while a
    // worker runs; else 0.
    int startThread(QObject* parent);
    void stopThread();

private:
    // The lines to send, shared with the worker, which releases them when the
    // update is over.
    struct Lines {
        std::mutex lock; // guards array and have
        QStringList array;
        bool have = false;
    };
    static void run(int fd, Lines& lines, rz48::WorkerContext& context);

    std::shared_ptr<Lines> lines_ = std::make_shared<Lines>();
};
