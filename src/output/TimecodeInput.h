#pragma once
// What the two timecode sources the Unit output can chase share: the
// device's descriptors watched on the window's thread (no thread of their
// own), a look for a source gone quiet every 50 ms, and each new position
// (and a stop) handed to the one handler.
#include "emulator/MtcDecoder.h"

#include <QObject>
#include <QString>

#include <functional>
#include <optional>
#include <vector>

class QSocketNotifier;
class QTimer;

class TimecodeInput : public QObject {
    Q_OBJECT
public:
    using Position = rz48::emu::MtcDecoder::Position;

    ~TimecodeInput() override;
    // Opens the device; false with the reason when it cannot.
    virtual bool open(QString* why) = 0;
    virtual void close();
    // Called with each new position (and when the source stops).
    void onPosition(std::function<void(const Position&)> handler) { handler_ = std::move(handler); }

protected:
    explicit TimecodeInput(QObject* parent);
    // Reads whenever one of the descriptors has something, and starts looking for dropouts.
    void watch(const std::vector<int>& descriptors);
    // Hands the position on when it changed.
    void report(bool changed, const std::optional<Position>& position);
    virtual void readInput() = 0;
    // True when the source has just gone quiet.
    virtual bool droppedOut() = 0;
    virtual std::optional<Position> position() const = 0;

private:
    std::vector<QSocketNotifier*> notifiers_;
    QTimer* dropout_ = nullptr;
    std::function<void(const Position&)> handler_;
};
