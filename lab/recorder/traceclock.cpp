#include "recorder/traceclock.h"

namespace recorder {

namespace {

using Time = std::chrono::system_clock::time_point;

thread_local bool isSet = false;
thread_local Time setTime;

} // namespace

TraceClock::TraceClock(Time time)
{
    setTime = time;
    isSet = true;
}

TraceClock::~TraceClock()
{
    isSet = false;
}

} // namespace recorder

// The linker's option --wrap leads every call of std::chrono::system_clock::now() here.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker makes these names.
recorder::Time __real__ZNSt6chrono3_V212system_clock3nowEv() noexcept;
recorder::Time __wrap__ZNSt6chrono3_V212system_clock3nowEv() noexcept
{
    return recorder::isSet ? recorder::setTime : __real__ZNSt6chrono3_V212system_clock3nowEv();
}
// NOLINTEND(bugprone-reserved-identifier)
}
