#include "app/LinkConsole.h"

#include "common/Diagnostics.h"
#include "link/ReceiveDrain.h"

void LinkConsole::threadHasMsg(MsgClass chunk)
{
    msg_.append(chunk);
    rz48::drainReceiveBuffer(msg_, [this](const QString& line) {
        ++lines_;
        rz48::diag("rx: %s\n", line.toUtf8().constData());
        emit lineReceived(line);
    });
}
