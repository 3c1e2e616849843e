#include "stage/session.h"

#include "commands/virtualscreen.h"
#include "stage/scene.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

namespace stage {

namespace {

using std::chrono::steady_clock;

constexpr auto look = std::chrono::milliseconds(10);
constexpr int units = 32768; // across the screen, and down

std::string contentsOf(const std::string &file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

Session::Session(const Setting &setting)
    : m_setting(setting), m_program({setting.program}), m_log(path("log.jsonl")),
      m_display(setting.screen->display())
{
    set("DISPLAY", setting.screen->display());
    set("QT_QPA_PLATFORM", "xcb");
    set("QT_SCALE_FACTOR", "1");
    set("XDG_RUNTIME_DIR", m_folder.path());
    m_program.prependPath("LD_LIBRARY_PATH", std::filesystem::path(setting.driver).parent_path().string());
    m_program.printTo(path("output"), path("errors"));
}

void Session::play(const Lines &lines)
{
    std::ofstream file(path("scenario.jsonl"));
    file << R"({"type":"scenario","version":2})" << '\n';
    for (const std::string &line : lines)
        file << line << '\n';
    set("BOARDSIM_SCENARIO", path("scenario.jsonl"));
    set("BOARDSIM_LOG", path("log.jsonl"));
}

std::string Session::gate(const std::string &gate) const
{
    return waitForFile(path(gate));
}

void Session::open(const std::string &gate) const
{
    std::ofstream(path(gate)).close();
}

bool Session::start()
{
    return m_program.start() && m_setting.screen->awaitWindow(m_program);
}

bool Session::await(const std::function<bool()> &holds) const
{
    const auto deadline = steady_clock::now() + std::chrono::duration<double>(m_setting.patience);
    while (!holds()) {
        if (m_program.hasEnded() || steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(look);
    }
    return true;
}

bool Session::awaitMark(const std::string &mark)
{
    return await([&] { return log().hasMark(mark); });
}

int Session::end()
{
    if (!m_program.hasEnded())
        m_setting.screen->press("Escape");
    await([] { return false; });
    const bool hangs = !m_program.hasEnded();
    if (hangs)
        m_program.kill();
    const int status = m_program.wait();
    return hangs ? -1 : status;
}

const DriverLog &Session::log()
{
    m_log.read();
    return m_log;
}

std::optional<std::uint32_t> Session::colourAt(int x, int y) const
{
    const Display::Size size = m_display.size();
    return m_display.pixel(x * size.width / units, y * size.height / units);
}

std::string Session::output() const
{
    return contentsOf(path("output"));
}

std::string Session::errors() const
{
    return contentsOf(path("errors"));
}

} // namespace stage
