#include "link/ReceiveDrain.h"

#include "common/Diagnostics.h"

#include <QStringDecoder>

namespace rz48 {
namespace {

bool sysExAtHead(const MsgClass& msg)
{
    return !msg.buffer().isEmpty() && static_cast<unsigned char>(msg.buffer().at(0)) == 0xF0;
}

} // namespace

void drainReceiveBuffer(MsgClass& msg, const std::function<void(const QString&)>& onLine)
{
    for (;;) {
        std::optional<QString> line = msg.removeString();
        // With a system-exclusive message at the head, removeString answers an
        // empty text and leaves the buffer as it is: go on to removeMidi
        // instead, or this loop would never end.
        if (line && line->isEmpty() && sysExAtHead(msg))
            line.reset();
        if (!line) {
            const std::optional<QByteArray> midi = msg.removeMidi();
            if (!midi && sysExAtHead(msg) && msg.buffer().size() > kMaxPendingSysEx) {
                const qsizetype end = msg.buffer().indexOf("\r\n");
                const qsizetype dropped = end < 0 ? msg.buffer().size() : end + 2;
                diag("incomplete system-exclusive message dropped (%lld bytes)\n", static_cast<long long>(dropped));
                msg.buffer().remove(0, dropped);
                continue;
            }
            if (!midi)
                break;
            QStringDecoder decoder(QStringDecoder::Utf8);
            const QString text = decoder.decode(*midi);
            if (decoder.hasError())
                break; // 0xF0 and 0xF7 are never valid UTF-8
            line = text + u'\n';
        }
        if (!line->isEmpty())
            onLine(*line);
    }

    if (msg.buffer().size() > kMaxPendingReceive) {
        diag("receive buffer overflow: %lld bytes without a line end dropped\n",
             static_cast<long long>(msg.buffer().size()));
        msg.buffer().clear();
    }
}

} // namespace rz48
