#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// One call of the program to the simulated driver, as the driver's log records it.
struct DriverCall
{
    std::string name; ///< the export without its prefix, e.g. "SetTouchDestination"
    nlohmann::ordered_json arguments;
    nlohmann::ordered_json result;
    int thread = 0; ///< the kernel's id of the calling thread
};

/// Loads the simulated driver, or a variant that lacks some exports, so that the program's own dlopen finds
/// it by its soname; gives it a scenario and reads its log. Without such an object, the driver library is
/// missing.
class SimulatedDriver
{
public:
    /// Two boards, numbers 7 and 3 in this order, with a legacy hub between them; no reports.
    static QStringList two_boards_and_a_hub();
    /// @p scenario: the lines after the version line. @p variant: a folder's name below sim/variants, or
    /// empty for the whole driver.
    explicit SimulatedDriver(const QStringList &scenario = two_boards_and_a_hub(),
                             const QString &variant = {});
    /// The driver that breaks the rules in one way, which docs/scenarios.md lists by name.
    static SimulatedDriver hostile(const QByteArray &misbehaviour,
                                   const QStringList &scenario = two_boards_and_a_hub());
    ~SimulatedDriver();

    SimulatedDriver(const SimulatedDriver &) = delete;
    SimulatedDriver &operator=(const SimulatedDriver &) = delete;

    /// The folder of the whole driver, for a program's LD_LIBRARY_PATH.
    static QString folder();
    /// The same for the driver that breaks the rules.
    static QString hostile_folder();

    /// All calls so far, oldest first.
    std::vector<DriverCall> calls() const;
    /// The calls of one export.
    std::vector<DriverCall> calls(const std::string &name) const;
    /// All calls so far as one text each, e.g. "SetTouchDestination(7, 1)", without callbacks and contexts.
    std::vector<std::string> call_texts() const;
    /// Whether a mark is in the log.
    bool has_mark(const std::string &text) const;
    /// Forgets the calls so far.
    void clear_calls();
    /// Lets the scenario continue after its line gate(@p name).
    void open_gate(const QString &name) const;
    /// The scenario line that waits until open_gate(@p name) is called. Only one driver may use a name.
    static QString gate(const QString &name);

private:
    struct Library
    {
        QString folder; ///< below sim
        QByteArray misbehaviour;
    };

    SimulatedDriver(const QStringList &scenario, const Library &library);
    std::vector<nlohmann::ordered_json> log() const;

    QTemporaryDir m_folder;
    void *m_library = nullptr;
};
