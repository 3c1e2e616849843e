#include "torture/trial.h"

#include "commands/launch.h"
#include "commands/temporaryfolder.h"
#include "commands/virtualscreen.h"
#include "torture/display.h"
#include "torture/driverlog.h"
#include "torture/lackingdriver.h"
#include "torture/process.h"
#include "torture/scene.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <thread>

namespace torture {

namespace {

using std::chrono::steady_clock;

constexpr const char *libraryName = "libzorvicboardex.so.1";
constexpr auto look = std::chrono::milliseconds(10);

constexpr int warmUps = 2;                // rounds before the program is measured
constexpr std::int64_t growth = 32 << 20; // bytes: what the painting threads keep of many contacts

constexpr int pool = 64; // threads that paint many contacts at once, and a driver's own

constexpr int units = 32768; // across the screen
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
        return {stroke(100, x, y, x + length, y, 50), touch(101, 60000, 60000, true),
                touch(101, 60000, 60000, false), torture::mark(mark)};
    }
};

constexpr Proof warm{"warm", 4000};
constexpr Proof proved{"proved", 16000};

/// One start of the program.
class Trial
{
public:
    Trial(const Setting &setting, const Fault &fault)
        : m_setting(setting), m_fault(fault), m_program({setting.program}), m_log(path("log.jsonl")),
          m_display(setting.screen->display())
    {
    }

    Outcome run()
    {
        const auto begun = steady_clock::now();
        if (prepare() && start()) {
            if (m_setting.isSimulated && m_fault.plays)
                play();
            end();
        }
        m_outcome.seconds = std::chrono::duration<double>(steady_clock::now() - begun).count();
        return std::move(m_outcome);
    }

private:
    std::chrono::duration<double> patience() const
    {
        return std::chrono::duration<double>(m_setting.patience);
    }
    std::string path(const std::string &name) const { return m_folder.path() + "/" + name; }
    void complain(const std::string &text) { m_outcome.complaints.push_back(text); }

    /// Waits until @p holds; false if the program ends before, or it does not in time.
    bool await(const std::function<bool()> &holds) const
    {
        const auto deadline = steady_clock::now() + patience();
        while (!holds()) {
            if (m_program.hasEnded() || steady_clock::now() > deadline)
                return false;
            std::this_thread::sleep_for(look);
        }
        return true;
    }

    bool awaitMark(const std::string &mark)
    {
        return await([&] {
            m_log.read();
            return m_log.hasMark(mark);
        });
    }

    void open(const std::string &gate) const { std::ofstream(path(gate)).close(); }

    void writeScenario() const
    {
        std::ofstream file(path("scenario.jsonl"));
        const auto add = [&file](const Lines &lines) {
            for (const std::string &line : lines)
                file << line << '\n';
        };
        const auto addRounds = [&](int count) {
            if (count == 0 || m_fault.round.empty())
                return;
            add({R"({"type":"repeat","count":)" + std::to_string(count) + "}"});
            add(m_fault.round);
            add({R"({"type":"end"})"});
        };
        add({R"({"type":"scenario","version":2})"});
        add(m_fault.devices);
        add({waitForFile(path("shown"))});
        addRounds(warmUps);
        add(warm.lines());
        add({waitForFile(path("measured"))});
        addRounds(m_fault.rounds);
        add({mark("tortured")});
        add(proved.lines());
    }

    bool prepare()
    {
        const std::string driver = path(libraryName);
        const std::string fault = copyWithout(m_fault.missing, m_setting.driver, driver);
        if (!fault.empty()) {
            complain(m_setting.driver + " " + fault);
            return false;
        }
        m_program.prependPath("LD_LIBRARY_PATH", m_folder.path());
        m_program.set("DISPLAY", m_setting.screen->display());
        m_program.set("QT_QPA_PLATFORM", "xcb");
        m_program.set("QT_SCALE_FACTOR", "1");
        m_program.set("XDG_RUNTIME_DIR", m_folder.path());
        if (m_setting.isSimulated) {
            writeScenario();
            m_program.set("BOARDSIM_SCENARIO", path("scenario.jsonl"));
            m_program.set("BOARDSIM_LOG", path("log.jsonl"));
        }
        if (!m_fault.misbehaviour.empty())
            m_program.set("BOARDSIM_MISBEHAVIOUR", m_fault.misbehaviour);
        m_program.printTo(path("output"), path("errors"));
        return true;
    }

    bool start()
    {
        if (!m_program.start()) {
            complain("the program cannot be started");
            return false;
        }
        if (!m_setting.screen->awaitWindow(m_program)) {
            complain("no window");
            end();
            return false;
        }
        return true;
    }

    void play()
    {
        open("shown");
        if (!awaitMark(warm.mark)) {
            complain("the driver does not get through the first rounds");
            return;
        }
        check(warm);
        if (!m_outcome.complaints.empty())
            return; // the second proof would say the same
        const Usage before = usageOf(m_program.process());
        open("measured");
        if (!awaitMark(proved.mark)) {
            complain("the driver does not get through the fault");
            return;
        }
        check(proved);
        checkGrowth(before, usageOf(m_program.process()));
        checkHandbacks();
    }

    /// Whether the proof is drawn and handed back, or neither if the fault keeps reports away.
    void check(const Proof &proof)
    {
        const auto isDrawn = [&] {
            constexpr int middle = Proof::length / 2;
            return m_display.pixel((proof.x + middle) * lab::VirtualScreen::width / units,
                                   Proof::y * lab::VirtualScreen::height / units)
                == green;
        };
        if (m_fault.draws && !await(isDrawn))
            complain("a stroke behind the fault is not drawn");
        else if (!m_fault.draws && isDrawn())
            complain("a stroke is drawn that was never reported");
        if (!m_fault.tellsHandbacks)
            return;
        const auto isHandedBack = [&] {
            m_log.read();
            return m_log.handbacks() >= Proof::handbacks;
        };
        if (m_fault.handsBack && !await(isHandedBack))
            complain("a contact outside of the window is not handed back");
        else if (!m_fault.handsBack && m_log.handbacks() > 0)
            complain("a contact is handed back that was never reported");
    }

    void checkHandbacks()
    {
        const std::int64_t ours = m_log.handbacksAtMark("tortured") - m_log.handbacksAtMark(warm.mark);
        const std::int64_t expected = std::int64_t{m_fault.handbacks.value_or(0)} * m_fault.rounds;
        if (m_fault.handbacks && ours != expected)
            complain(std::to_string(ours) + " reports handed back instead of " + std::to_string(expected));
    }

    void checkGrowth(const Usage &before, const Usage &after)
    {
        if (after.memory > before.memory + growth)
            complain("memory grows from " + std::to_string(before.memory >> 20) + " to "
                     + std::to_string(after.memory >> 20) + " MB");
        if (after.files > before.files)
            complain("open files grow from " + std::to_string(before.files) + " to "
                     + std::to_string(after.files));
        if (after.threads > before.threads + pool)
            complain("threads grow from " + std::to_string(before.threads) + " to "
                     + std::to_string(after.threads));
    }

    void end()
    {
        if (!m_program.hasEnded())
            m_setting.screen->press("Escape");
        const auto deadline = steady_clock::now() + patience();
        while (!m_program.hasEnded() && steady_clock::now() < deadline)
            std::this_thread::sleep_for(look);
        const bool hangs = !m_program.hasEnded();
        if (hangs)
            m_program.kill();
        checkEnd(m_program.wait(), hangs);
    }

    void checkEnd(int status, bool hangs)
    {
        m_outcome.isInterrupted = status == 128 + SIGINT || status == 128 + SIGTERM;
        if (hangs)
            complain("the program does not end");
        else if (status > 128)
            complain("the program crashes with signal " + std::to_string(status - 128));
        else if (status != 0)
            complain("the program ends with status " + std::to_string(status));
        const std::string errors = firstLineOf(path("errors"));
        if (!errors.empty())
            complain("the program prints: " + errors);
        if (!m_setting.isSimulated || !m_fault.logsDetach || hangs)
            return;
        m_log.read();
        if (m_log.lastCall() != "zorvicDetach")
            complain("the last call is " + (m_log.lastCall().empty() ? "missing" : m_log.lastCall()));
        if (m_fault.endsReporting && m_log.isReporting(1))
            complain("touches are still reported to the program");
    }

    static std::string firstLineOf(const std::string &file)
    {
        std::ifstream stream(file);
        std::string line;
        std::getline(stream, line);
        return line;
    }

    const Setting &m_setting;
    const Fault &m_fault;
    const lab::TemporaryFolder m_folder;
    lab::Launch m_program;
    DriverLog m_log;
    const Display m_display;
    Outcome m_outcome;
};

} // namespace

Outcome tryFault(const Setting &setting, const Fault &fault)
{
    return Trial(setting, fault).run();
}

} // namespace torture
