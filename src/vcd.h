#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// Handle on one named signal of the program's trace: constructing it declares the signal, or finds it again
/// by name, and records its first value. What is recorded belongs to the whole program and stays until it
/// ends; a handle owns nothing. Any thread may construct and update handles. Times are nanoseconds since the
/// program started.
class Vcd
{
public:
    /// One recorded value, whatever its type, as a double.
    struct change
    {
        unsigned int id = 0; ///< of the signal, 33 or more
        int type = 0;        ///< of the handle that recorded it
        double value = 0;
        long long time = 0; ///< nanoseconds since the program started, strictly increasing within a signal
    };

    /// Handles of one name share one signal, even when their types differ; each change is written as its own
    /// handle's type. A name is written as it is: viewers want one without blanks.
    Vcd(const std::string &name, char value);
    Vcd(const std::string &name, double value);
    Vcd(const std::string &name, int value);
    Vcd(const std::string &name, unsigned int value);

    /// Records @p value now, unless it equals the signal's last one.
    void update(double value);

    /// Writes all that was recorded so far to @p file_name as a value change dump, and keeps it. A file that
    /// cannot be opened or written is ignored. Takes no lock: call it only when no other thread records.
    static void write_vcd(const std::string &file_name);

private:
    Vcd(const std::string &name, int type, double value);

    unsigned int m_id = 0;
    int m_type = 0;

    static constexpr unsigned int first_id = 33; ///< 0 stands for a name without a signal

    // Inline: they exist before any handle in a file that includes this header, global handles too.
    inline static unsigned int m_next_id = first_id;
    inline static const std::chrono::system_clock::time_point m_starttime = std::chrono::system_clock::now();
    inline static std::map<unsigned int, std::vector<change>> m_id_to_changes_map;
    inline static std::map<std::string, unsigned int> m_name_to_id_map;
    inline static std::map<unsigned int, std::string> m_id_to_name_map;
    inline static std::mutex m_mutex; ///< guards the registries
};
