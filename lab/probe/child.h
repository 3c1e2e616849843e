#pragma once

#include "probe/answer.h"

#include "commands/launch.h"

#include <array>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace probe {

/// driver-probe as a process, whose every step has a deadline. What the driver prints goes to standard error.
/// Used on one thread.
class Child
{
public:
    using Json = nlohmann::ordered_json;

    /// @p command: the program and its arguments, of which the first gets a descriptor. @p patience: seconds
    /// that a step may take.
    Child(std::vector<std::string> command, double patience);
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    void set(const std::string &name, const std::string &value) { m_launch.set(name, value); }
    /// Runs it, hands every line to @p take, and returns how it ended. A step that passes its deadline ends
    /// with the process.
    Ending run(const std::function<void(const Json &)> &take);

private:
    using Clock = std::chrono::steady_clock;

    Child(std::vector<std::string> command, double patience, std::array<int, 2> ends);

    bool receive();
    void takeLine(const std::string &text);
    bool waitForMore();
    void finish();

    const double m_patience;
    int m_answers = -1; ///< what the child writes
    int m_end = -1;     ///< the child's end of it
    lab::Launch m_launch;
    Ending m_ending;
    std::string m_received;
    Clock::time_point m_deadline;
    std::function<void(const Json &)> m_take;
};

} // namespace probe
