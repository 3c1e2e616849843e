#pragma once

#include "hardware/zorvichardware.h"

#include <QByteArray>

#include <vector>

/// Raw reports as a board sends them, written byte by byte and independently of the program's decoders.
namespace reports {

QByteArray pen(const ZorvicHardware::PenEvent &event);
QByteArray touch(const ZorvicHardware::TouchEvent &contacts);
QByteArray erase(const ZorvicHardware::EraseEvent &contacts);
QByteArray status(const std::vector<int> &six_bytes);

/// The same report behind the 3-byte prefix that some boards send.
QByteArray prefixed(const QByteArray &report);

/// Delivers @p report to @p hardware through the driver's callback, on the calling thread.
void deliver(ZorvicHardware &hardware, const QByteArray &report);

} // namespace reports
