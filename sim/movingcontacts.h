#pragma once

#include "fields.h"
#include "scenario.h"

namespace boardsim {

/// Reads one contact of a move line: who moves, and along which path. A fault is kept by @p fields.
MovingContact readMovingContact(Fields &fields);

} // namespace boardsim
