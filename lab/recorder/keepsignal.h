#pragma once

namespace recorder {

/// SIGUSR1 as the wish to save a rolling recording, for a program that does nothing with it itself. The
/// handler only sets a flag. At most one object at a time.
class KeepSignal
{
public:
    /// Installs the handler, unless the program has one of its own or ignores the signal.
    KeepSignal();
    /// Leaves the signal as it was, unless the program has taken it meanwhile.
    ~KeepSignal();
    KeepSignal(const KeepSignal &) = delete;
    KeepSignal &operator=(const KeepSignal &) = delete;

    /// Whether the signal has come since the last call. May be called on any thread.
    static bool take();

private:
    bool m_isInstalled = false;
};

} // namespace recorder
