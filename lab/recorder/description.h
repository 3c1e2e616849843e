#pragma once

#include "capture/writer.h"
#include "recorder/realdriver.h"

namespace recorder {

/// The first line of a recording: which recorder, program, Qt, driver, screens, locale and kernel. Without
/// user, host and home folder unless @p identify. Called on the thread that opens the driver, which is the
/// program's GUI thread.
capture::Writer::Json describe(const RealDriver &driver, bool identify);

} // namespace recorder
