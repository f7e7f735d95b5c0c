#pragma once
// Cuts every complete report line off the panel's receive buffer and hands it
// on, in order. Lines are handed on without their terminators; empty ones are
// skipped. A system-exclusive message is cut off whole and ends the drain
// (its bytes are not text); the lines after it wait for the next chunk.
#include "link/MsgClass.h"

#include <functional>

namespace rz48 {

// Bytes the receive buffer may hold without a complete line or message; past
// this (the unit never sends such a thing) the pending bytes are dropped.
constexpr qsizetype kMaxPendingReceive = 16 * 1024;
// An unfinished system-exclusive message at the head holds the lines behind
// it back; once this much has piled up behind its start it is dropped, with
// the line it runs into, and the lines after it go on.
constexpr qsizetype kMaxPendingSysEx = 512;

void drainReceiveBuffer(MsgClass& msg, const std::function<void(const QString&)>& onLine);

} // namespace rz48
