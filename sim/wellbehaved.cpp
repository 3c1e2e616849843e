#include "driver.h"

std::unique_ptr<boardsim::Driver> boardsim::makeDriver(CallLog &log)
{
    return std::make_unique<Driver>(log);
}
