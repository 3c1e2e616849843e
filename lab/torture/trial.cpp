#include "torture/trial.h"

#include "language.h"
#include "stage/scene.h"
#include "torture/lackingdriver.h"
#include "torture/process.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <utility>

namespace torture {

namespace {

using lab::message;
using lab::tr;
using lab::whole;

constexpr const char *libraryName = "libzorvicboardex.so.1";
constexpr int warmUps = 2;                // rounds before the program is measured
constexpr std::int64_t growth = 32 << 20; // bytes: what the painting threads keep of many contacts
constexpr int pool = 64;                  // threads that paint many contacts at once, and a driver's own
constexpr std::uint32_t green = 0x00ff00;

/// A contact that a program which works draws, and another that it hands back.
struct Proof
{
    const char *mark; ///< when all of it has been reported
    int x;            ///< where the stroke begins

    static constexpr int y = 29000; // below all that the faults draw
    static constexpr int length = 2000;
    static constexpr int handbacks = 2; // down and lifted

    Lines lines() const
    {
        return {stage::stroke(100, x, y, x + length, y, 50), stage::touch(101, 60000, 60000, true),
                stage::touch(101, 60000, 60000, false), stage::mark(mark)};
    }
};

constexpr Proof warm{"warm", 4000};
constexpr Proof proved{"proved", 16000};

void append(Lines &lines, const Lines &more)
{
    lines.insert(lines.end(), more.begin(), more.end());
}

/// @p fault is a text and perhaps, behind a colon, its cause.
lab::Message copyFault(const std::string &driver, const std::string &fault)
{
    const std::size_t colon = std::min(fault.find(": "), fault.size());
    return {driver + " " + tr(fault.substr(0, colon).c_str()) + fault.substr(colon), driver + " " + fault};
}

/// One start of the program.
class Trial
{
public:
    Trial(const stage::Setting &setting, bool isSimulated, const Fault &fault)
        : m_isSimulated(isSimulated), m_fault(fault), m_driver(setting.driver),
          m_session(withOwnDriver(setting))
    {
    }

    Outcome run()
    {
        const auto begun = std::chrono::steady_clock::now();
        if (prepare()) {
            if (!m_session.start())
                complain(message("no window"));
            else if (m_isSimulated && m_fault.plays)
                play();
            end();
        }
        m_outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
        return std::move(m_outcome);
    }

private:
    void complain(const lab::Message &text)
    {
        m_outcome.complaints.push_back(text.english);
        m_outcome.complaintsForPerson.push_back(text.told);
    }

    std::string ownDriver() const { return m_folder.path() + "/" + libraryName; }

    stage::Setting withOwnDriver(stage::Setting setting) const
    {
        setting.driver = ownDriver();
        return setting;
    }

    Lines rounds(int count) const
    {
        if (count == 0 || m_fault.round.empty())
            return {};
        Lines lines{R"({"type":"repeat","count":)" + std::to_string(count) + "}"};
        append(lines, m_fault.round);
        lines.emplace_back(R"({"type":"end"})");
        return lines;
    }

    Lines scenario() const
    {
        Lines lines = m_fault.devices;
        lines.push_back(m_session.gate("shown"));
        append(lines, rounds(warmUps));
        append(lines, warm.lines());
        lines.push_back(m_session.gate("measured"));
        append(lines, rounds(m_fault.rounds));
        lines.push_back(stage::mark("tortured"));
        append(lines, proved.lines());
        return lines;
    }

    bool prepare()
    {
        const std::string wrong = copyWithout(m_fault.missing, m_driver, ownDriver());
        if (!wrong.empty()) {
            complain(copyFault(m_driver, wrong));
            return false;
        }
        if (m_isSimulated)
            m_session.play(scenario());
        if (!m_fault.misbehaviour.empty())
            m_session.set("BOARDSIM_MISBEHAVIOUR", m_fault.misbehaviour);
        return true;
    }

    void play()
    {
        m_session.open("shown");
        if (!m_session.awaitMark(warm.mark)) {
            complain(message("the driver does not get through the first rounds"));
            return;
        }
        check(warm);
        if (!m_outcome.complaints.empty())
            return; // the second proof would say the same
        const Usage before = usageOf(m_session.process());
        m_session.open("measured");
        if (!m_session.awaitMark(proved.mark)) {
            complain(message("the driver does not get through the fault"));
            return;
        }
        check(proved);
        checkGrowth(before, usageOf(m_session.process()));
        checkHandbacks();
    }

    /// Whether the proof is drawn and handed back, or neither if the fault keeps reports away.
    void check(const Proof &proof)
    {
        const auto isDrawn = [&] {
            return m_session.colourAt(proof.x + Proof::length / 2, Proof::y) == green;
        };
        if (m_fault.draws && !m_session.await(isDrawn))
            complain(message("a stroke behind the fault is not drawn"));
        else if (!m_fault.draws && isDrawn())
            complain(message("a stroke is drawn that was never reported"));
        if (!m_fault.tellsHandbacks)
            return;
        const auto isHandedBack = [&] { return m_session.log().handbacks() >= Proof::handbacks; };
        if (m_fault.handsBack && !m_session.await(isHandedBack))
            complain(message("a contact outside of the window is not handed back"));
        else if (!m_fault.handsBack && m_session.log().handbacks() > 0)
            complain(message("a contact is handed back that was never reported"));
    }

    void checkHandbacks()
    {
        const stage::DriverLog &log = m_session.log();
        const std::int64_t ours = log.handbacksAtMark("tortured") - log.handbacksAtMark(warm.mark);
        const std::int64_t expected = std::int64_t{m_fault.handbacks.value_or(0)} * m_fault.rounds;
        if (m_fault.handbacks && ours != expected)
            complain(message("%lld reports handed back instead of %lld", whole(ours), whole(expected)));
    }

    void checkGrowth(const Usage &before, const Usage &after)
    {
        if (after.memory > before.memory + growth)
            complain(message("memory grows from %lld to %lld MB", whole(before.memory >> 20),
                             whole(after.memory >> 20)));
        if (after.files > before.files)
            complain(message("open files grow from %lld to %lld", whole(before.files), whole(after.files)));
        if (after.threads > before.threads + pool)
            complain(message("threads grow from %lld to %lld", whole(before.threads), whole(after.threads)));
    }

    void end()
    {
        const int status = m_session.end();
        m_outcome.isInterrupted = status == 128 + SIGINT || status == 128 + SIGTERM;
        if (status < 0)
            complain(message("the program does not end"));
        else if (status > 128)
            complain(message("the program crashes with signal %d", status - 128));
        else if (status != 0)
            complain(message("the program ends with status %d", status));
        if (!m_isSimulated)
            return;
        const std::string errors = m_session.errors();
        if (!errors.empty())
            complain(message("the program prints: %s", errors.substr(0, errors.find('\n')).c_str()));
        if (m_fault.logsDetach && status >= 0)
            checkLastCalls();
    }

    void checkLastCalls()
    {
        const stage::DriverLog &log = m_session.log();
        if (log.lastCall() != "zorvicDetach")
            complain(log.lastCall().empty() ? message("the last call is missing")
                                            : message("the last call is %s", log.lastCall().c_str()));
        if (m_fault.endsReporting && log.isReporting(1))
            complain(message("touches are still reported to the program"));
    }

    const bool m_isSimulated;
    const Fault &m_fault;
    const std::string m_driver;
    const lab::TemporaryFolder m_folder; ///< of the copy of the driver
    stage::Session m_session;
    Outcome m_outcome;
};

} // namespace

Outcome tryFault(const stage::Setting &setting, bool isSimulated, const Fault &fault)
{
    return Trial(setting, isSimulated, fault).run();
}

} // namespace torture
