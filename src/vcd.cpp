#include "vcd.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <limits>
#include <string_view>

namespace {

enum Type : int { char_type = 0, double_type = 1, int_type = 2, unsigned_type = 3 };

constexpr unsigned int first_code = 33; // '!', the first printable character after the space
constexpr unsigned int code_base = 93;

/// The short name in the file of the signal declared as number @p index: a number in base 93, least
/// significant digit first.
std::string code_of(unsigned int index)
{
    std::string code;
    do {
        code += static_cast<char>(first_code + index % code_base);
        index /= code_base;
    } while (index != 0);
    return code;
}

/// The changes of one signal that are still to be written.
struct Remaining
{
    const Vcd::change *next = nullptr;
    const Vcd::change *end = nullptr;
    std::string ending; ///< of each of the signal's value lines: a space, its code and a newline
};

/// Brings the changes of all signals into one order in time; at equal times the lower identifier comes first.
/// Each signal's changes are in order already, so a knock-out tournament with a leaf for each signal merges
/// them: one change costs one comparison for each doubling of the signals, and nothing is copied.
class Tournament
{
public:
    explicit Tournament(std::vector<Remaining> &lists) : m_lists(lists)
    {
        while (m_leaves < lists.size())
            m_leaves *= 2;
        m_nodes.resize(2 * m_leaves);
        for (std::size_t index = 0; index < lists.size(); ++index)
            m_nodes[m_leaves + index] = {next_time(lists[index]), index};
        for (std::size_t at = m_leaves - 1; at > 0; --at) {
            const Node *children = &m_nodes[2 * at];
            m_nodes[at] = children[1].time < children[0].time ? children[1] : children[0];
        }
    }

    /// The list that holds the earliest change, null when no change is left.
    const Remaining *earliest() const
    {
        return m_nodes[1].time == never ? nullptr : &m_lists[m_nodes[1].index];
    }

    void drop_earliest()
    {
        const std::size_t index = m_nodes[1].index;
        ++m_lists[index].next;

        Node winner{next_time(m_lists[index]), index};
        for (std::size_t at = m_leaves + index; at > 1; at /= 2) {
            m_nodes[at] = winner;
            const Node other = m_nodes[at ^ 1];
            // The left one, at an even place, wins a tie. Chosen without a branch: none could be predicted.
            const bool lost = other.time < winner.time + static_cast<long long>(at & 1);
            winner.time = lost ? other.time : winner.time;
            winner.index = lost ? other.index : winner.index;
        }
        m_nodes[1] = winner;
    }

private:
    static constexpr long long never = std::numeric_limits<long long>::max() - 1; // after 292 years

    struct Node
    {
        long long time = never;
        std::size_t index = 0; ///< of the list
    };

    static long long next_time(const Remaining &list)
    {
        return list.next == list.end ? never : list.next->time;
    }

    std::vector<Remaining> &m_lists;
    std::size_t m_leaves = 1;  ///< a power of two
    std::vector<Node> m_nodes; ///< root at 1, children of n at 2n and 2n + 1, leaves from m_leaves on
};

constexpr std::size_t block_size = std::size_t{256} * 1024;
constexpr std::size_t longest_line = 32; // a time line has at most 22 characters, a value line 21

char *put_text(char *at, std::string_view text)
{
    return std::copy(text.begin(), text.end(), at);
}

/// Writes @p number, of six digits, divided by 10 to the power of @p decimals, without zeros at the end of
/// the fraction.
char *put_decimal(char *at, int number, int decimals)
{
    char digits[6];
    std::to_chars(digits, std::end(digits), number);
    const int whole = 6 - decimals;
    if (whole > 0)
        at = std::copy(digits, digits + whole, at);
    else
        *at++ = '0';
    if (decimals == 0)
        return at;

    *at++ = '.';
    at = std::fill_n(at, std::max(-whole, 0), '0');
    at = std::copy(digits + std::max(whole, 0), std::end(digits), at);
    while (at[-1] == '0')
        --at;
    return at[-1] == '.' ? at - 1 : at;
}

/// Writes @p value with six significant digits, as a stream does by default. Most recorded values need no
/// exponent; for them one multiplication finds the six digits, several times faster than the general way.
char *put_number(char *at, double value)
{
    static constexpr double powers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};

    const double size = std::fabs(value);
    if (size >= 1e-4 && size < 1e6) {
        int decimals = 0;
        while (size * powers[decimals] < 1e5)
            ++decimals;
        const double scaled = size * powers[decimals];
        // NOLINTNEXTLINE(bugprone-incorrect-roundings): what it may round wrongly is not certain, see below.
        const int number = static_cast<int>(scaled + 0.5);
        // The product is off by less than 1e-9: only next to a half may it round to the wrong side.
        const bool certain = 0.5 - std::fabs(scaled - number) > 1e-6;
        if (certain && number < 1000000) {
            if (value < 0)
                *at++ = '-';
            return put_decimal(at, number, decimals);
        }
    }
    return std::to_chars(at, at + longest_line, value, std::chars_format::general, 6).ptr;
}

/// The character whose code @p value is; a value outside int gives the character 0.
char character_of(double value)
{
    constexpr double limit = 2147483648.0;
    return value > -limit - 1 && value < limit ? static_cast<char>(static_cast<int>(value)) : '\0';
}

char *put_value(char *at, const Vcd::change &change)
{
    if (change.type == char_type) {
        *at++ = 's';
        *at++ = character_of(change.value);
        return at;
    }
    *at++ = 'r';
    return put_number(at, change.value);
}

void write_changes(std::ofstream &file, std::vector<Remaining> &lists)
{
    std::vector<char> block(block_size + 2 * longest_line);
    char *const start = block.data();
    char *at = start;
    // Deliberate: begins at 0, so that a change at time 0 gets no time line.
    long long last_time = 0;
    Tournament order(lists);
    while (const Remaining *list = order.earliest()) {
        const Vcd::change &change = *list->next;
        if (change.time != last_time) {
            last_time = change.time;
            *at++ = '#';
            at = std::to_chars(at, at + longest_line, last_time).ptr;
            *at++ = '\n';
        }
        at = put_value(at, change);
        at = put_text(at, list->ending);
        order.drop_earliest();
        if (at >= start + block_size) {
            file.write(start, at - start);
            at = start;
        }
    }
    file.write(start, at - start);
}

} // namespace

Vcd::Vcd(const std::string &name, char value) : Vcd(name, char_type, static_cast<signed char>(value)) { }

Vcd::Vcd(const std::string &name, double value) : Vcd(name, double_type, value) { }

Vcd::Vcd(const std::string &name, int value) : Vcd(name, int_type, value) { }

Vcd::Vcd(const std::string &name, unsigned int value) : Vcd(name, unsigned_type, value) { }

Vcd::Vcd(const std::string &name, int type, double value) : m_type(type)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        unsigned int &id = m_name_to_id_map[name];
        if (id == 0) {
            id = m_next_id++;
            m_id_to_name_map[id] = name;
        }
        m_id = id;
    }
    update(value);
}

void Vcd::update(double value)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<change> &changes = m_id_to_changes_map[m_id];
    if (!changes.empty() && changes.back().value == value)
        return;

    const auto since_start = std::chrono::system_clock::now() - m_starttime;
    long long time = std::chrono::duration_cast<std::chrono::nanoseconds>(since_start).count();
    if (!changes.empty())
        time = std::max(time, changes.back().time + 1);
    changes.push_back({m_id, m_type, value, time});
}

void Vcd::write_vcd(const std::string &file_name)
{
    std::ofstream file(file_name, std::ios::binary | std::ios::trunc);
    if (!file)
        return;

    file << "$date It's a new day. $end\n"
            "$version VCD generator V1.0. $end\n"
            "$comment VCD generator by D.K.Orwin $end\n"
            "$timescale 1 ns $end\n"
            "$scope module logic $end\n";
    for (const auto &[id, name] : m_id_to_name_map)
        file << "$var real 64 " << code_of(id - first_id) << ' ' << name << " $end\n";
    file << "$upscope $end\n"
            "$enddefinitions $end\n";

    std::vector<Remaining> lists;
    lists.reserve(m_id_to_changes_map.size());
    for (const auto &[id, changes] : m_id_to_changes_map)
        lists.push_back(
            {changes.data(), changes.data() + changes.size(), ' ' + code_of(id - first_id) + '\n'});
    write_changes(file, lists);
}
