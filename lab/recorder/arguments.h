#pragma once

#include "capture/writer.h"
#include "recorder/function.h"
#include "recorder/record.h"

#include <string>
#include <vector>

namespace recorder {

/// A parameter of a function of the driver.
struct Parameter
{
    std::string name;
    enum class Kind { number, text, bytes, address } kind = Kind::number;
};

/// The parameters of a function, from the signature that the table of exports writes. A callback without a
/// name is called "callback".
std::vector<Parameter> parametersOf(Function function);

/// The arguments of a call by their names, as the simulated driver's log has them: numbers, text, bytes as
/// hexadecimal text, and addresses as text like "0x7f00beef". @p bytes are those that the record keeps.
capture::Writer::Json argumentsOf(const Record &record, const std::uint8_t *bytes);
/// Null for a function that returns nothing.
capture::Writer::Json resultOf(const Record &record);

} // namespace recorder
