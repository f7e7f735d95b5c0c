#pragma once
// Replaces the unit's microcontroller program: loads the 772-byte loader
// byte by byte with an echo check, waits for the flash to be erased, then
// sends every S1 record and waits for its acknowledgement. Owns the serial
// descriptor while it runs (the link thread is stopped first); reports go to
// the parent's threadHasProgress and, once, threadUpdateComplete.
#include "update/UpdateWorker.h"

#include <QByteArray>
#include <QObject>
#include <QStringList>

class MicroUpdateThread : public UpdateWorker {
public:
    MicroUpdateThread()
        : UpdateWorker("micro update thread")
    {
    }
    ~MicroUpdateThread() override;

    void setSRecArray(const QStringList& records) { sRecArray_ = records; }
    const QStringList& sRecArray() const { return sRecArray_; }
    // The loader image (772 bytes) sent before the records.
    void setLoader(const QByteArray& loader) { loader_ = loader; }

    // -1 without a descriptor or records, or while a worker runs; else 0.
    int startThread(QObject* parent);
    void stopThread();

private:
    QStringList sRecArray_;
    QByteArray loader_;
};
