#pragma once

/// How often the program's own code has called nanosleep, as it does to pause its event loop.
int pauses();
