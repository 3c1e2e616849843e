#pragma once

#include "hardware/zorvichardware.h"

#include <QObject>

#include <string>
#include <vector>

/// A record with all its fields as one text, e.g. "pen 1 at 4660, 22136, tip, button".
std::string text_of(const ZorvicHardware::PenEvent &event);
std::string text_of(const ZorvicHardware::TouchContact &contact);
std::string text_of(const ZorvicHardware::EraseContact &contact);
std::string text_of(const ZorvicHardware::TouchEvent &contacts);
std::string text_of(const ZorvicHardware::EraseEvent &contacts);
std::string text_of(const ZorvicHardware::TouchStatus &status);
std::string text_of(const ZorvicHardware::BoardInfo &info);

/// Writes down all signals of one board manager in the order of emission, at once and on the emitting thread,
/// e.g. "hubEnumerated(legacy)". Read it only when no other thread emits.
class BoardSignals
{
public:
    explicit BoardSignals(const ZorvicHardware &hardware);

    std::vector<std::string> texts;

private:
    QObject m_receiver; ///< its destruction ends the connections
};
