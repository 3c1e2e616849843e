#include "commands/gathering.h"

#include "commands/errand.h"
#include "commands/files.h"
#include "commands/text.h"
#include "language.h"

#include "probe/child.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <sys/utsname.h>

namespace lab {

namespace {

namespace fs = std::filesystem;

constexpr double commandTime = 120; ///< seconds for a step that another command takes

/// "NAME=value", or that there is none.
std::string variable(const char *name)
{
    const char *const value = std::getenv(name);
    return std::string(name) + (value ? "=" + std::string(value) : " is not set") + "\n";
}

std::string withoutNewline(std::string text)
{
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

/// The lines of @p text that hold @p what.
std::string linesWith(const std::string &text, const std::string &what)
{
    std::string found;
    for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != std::string::npos;
         begin = end + 1) {
        const std::string line = text.substr(begin, end + 1 - begin);
        if (line.find(what) != std::string::npos)
            found += line;
    }
    return found;
}

/// Whoever looks for the fault need not speak the language of whoever has it.
Errand runInEnglish(std::vector<std::string> program, const std::string &folder)
{
    program.insert(program.begin(), {"env", "LANGUAGE=C"});
    return run(std::move(program), folder, commandTime);
}

/// Why there is no result of @p errand.
std::string failureOf(const Errand &errand)
{
    const std::string told = withoutNewline(errand.errors);
    if (!told.empty())
        return told.substr(told.rfind('\n') + 1); // the last line is the cause
    return errand.status < 0 ? trLater("it was ended") : "status " + std::to_string(errand.status);
}

/// What is only for whoever has the board.
void removeSerialNumbers(probe::Answer &answer)
{
    for (probe::Device &device : answer.devices) {
        device.info = capture::withoutSerialNumbers(device.info);
        device.record.clear(); // any byte of it may belong to a serial number
    }
}

} // namespace

Gathering::Gathering(probe::Wish wish, bool identify)
    : m_wish(std::move(wish)), m_identify(identify), m_names(capture::ownNames())
{
    if (m_folder.path().empty() || m_private.path().empty())
        throw std::runtime_error(tr("there is no folder for temporary files"));
}

void Gathering::gather(const std::string &recording, const std::function<void()> &onListen)
{
    addProbe(onListen);
    addVersions();
    addScreens();
    addLocale();
    addLoader();
    addRecording(recording);
    addContents();
}

void Gathering::add(const std::string &name, const std::string &what, const std::string &text)
{
    std::ofstream file(m_folder.path() + "/" + name, std::ios::binary);
    file << (m_identify ? text : capture::masked(text, m_names));
    file.close();
    if (file)
        addWritten(name, what);
    else
        addFailure(name, what, trLater("there is no room for it"));
}

void Gathering::addFailure(const std::string &name, const std::string &what, const std::string &failure)
{
    std::error_code ignored;
    fs::remove(m_folder.path() + "/" + name, ignored);
    m_pieces.push_back({name, what, m_identify ? failure : capture::masked(failure, m_names), 0});
}

void Gathering::addWritten(const std::string &name, const std::string &what)
{
    std::error_code ignored;
    const auto size = fs::file_size(m_folder.path() + "/" + name, ignored);
    m_pieces.push_back({name, what, {}, static_cast<std::int64_t>(size)});
}

void Gathering::addProbe(const std::function<void()> &onListen)
{
    probe::Answer answer = probe::find(m_wish, onListen);
    if (!m_identify)
        removeSerialNumbers(answer);
    add("probe.txt", trLater("what driver and board answer"), probe::answerText(answer, Audience::program));
    add("probe.json", trLater("the same for programs"), probe::answerJson(answer) + "\n");
}

void Gathering::addVersions()
{
    std::string text = "lanternix-lab " LANTERNIX_VERSION "\n";
    utsname system{};
    if (uname(&system) == 0)
        text += std::string(system.sysname) + " " + system.release + " " + system.machine + "\n";
    const Errand packages =
        run({"dpkg-query", "--show", "lanternix*", "libqt5gui5", "libc6"}, m_private.path(), commandTime);
    text += contentsOf("/etc/os-release") + packages.output;
    add("versions.txt", trLater("versions of the system and the packages"), text);
}

void Gathering::addScreens()
{
    constexpr const char *name = "screens.json";
    constexpr const char *what = trLater("the screens and the kind of session");
    probe::Child child({m_wish.helper, "screens", "-"}, m_wish.patience);
    nlohmann::ordered_json screens;
    const probe::Ending ending =
        child.run([&screens](const probe::Child::Json &line) { screens = line.value("screens", screens); });
    if (ending.kind != probe::Ending::Kind::whole)
        return addFailure(name, what,
                          ending.cause.empty() ? trLater("the desktop does not answer") : ending.cause);
    nlohmann::ordered_json json{{"screens", screens}};
    for (const char *const variable : {"XDG_SESSION_TYPE", "QT_QPA_PLATFORM", "QT_SCALE_FACTOR"}) {
        const char *const value = std::getenv(variable);
        json[variable] = value ? nlohmann::ordered_json(value) : nlohmann::ordered_json(nullptr);
    }
    add(name, what, json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
}

void Gathering::addLocale()
{
    const std::string former = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "");
    const char *const locale = std::setlocale(LC_ALL, nullptr);
    std::string text = std::string(locale ? locale : "") + "\n";
    std::setlocale(LC_ALL, former.c_str());
    for (const char *const name : {"LANG", "LANGUAGE", "LC_ALL", "LC_CTYPE", "LC_NUMERIC"})
        text += variable(name);
    add("locale.txt", trLater("language and character set"), text);
}

void Gathering::addLoader()
{
    std::string text = variable("LD_LIBRARY_PATH") + variable("LD_PRELOAD");
    std::error_code ignored;
    for (const fs::directory_entry &entry : fs::directory_iterator("/etc/ld.so.conf.d", ignored))
        text += entry.path().string() + ":\n" + contentsOf(entry.path());
    const Errand list = run({"/sbin/ldconfig", "-p"}, m_private.path(), commandTime);
    text += "ldconfig -p:\n" + (list.status == 0 ? linesWith(list.output, "zorvicboardex") : list.errors);
    add("loader.txt", trLater("where the loader looks for libraries"), text);
}

/// Runs a subcommand of this command that writes the piece. False if it fails, which the piece then tells.
bool Gathering::runSelf(std::vector<std::string> arguments, const std::string &name, const std::string &what)
{
    arguments.insert(arguments.begin(), ownPath());
    std::error_code ignored;
    const Errand errand = runInEnglish(std::move(arguments), m_folder.path());
    if (errand.status != 0 || !fs::exists(m_folder.path() + "/" + name, ignored)) {
        addFailure(name, what, failureOf(errand));
        return false;
    }
    addWritten(name, what);
    return true;
}

void Gathering::addRecording(const std::string &recording)
{
    constexpr const char *name = "recording.jsonl";
    constexpr const char *what = trLater("what happened at the board");
    const std::string kept = m_private.path() + "/kept.jsonl";
    std::error_code ignored;
    if (recording.empty() || fs::is_directory(recording, ignored)) {
        std::vector<std::string> keep{ownPath(), "keep", "-o", kept};
        if (!recording.empty())
            keep.push_back(absolute(recording));
        const Errand errand = runInEnglish(std::move(keep), m_private.path());
        if (errand.status != 0)
            return addFailure(name, what, failureOf(errand));
    }
    const std::string source = fs::exists(kept, ignored) ? kept : absolute(recording);
    if (runSelf(m_identify ? std::vector<std::string>{"cut", source, "-o", name}
                           : std::vector<std::string>{"anonymise", source, "-o", name},
                name, what))
        addReports();
}

void Gathering::addReports()
{
    runSelf({"report", "recording.jsonl", "-o", "report.html"}, "report.html",
            trLater("figures of the recording, as a page"));
    constexpr const char *what = trLater("the same as text");
    const Errand text = runInEnglish({ownPath(), "report", "recording.jsonl"}, m_folder.path());
    if (text.status == 0)
        add("report.txt", what, text.output);
    else
        addFailure("report.txt", what, failureOf(text));
}

/// The first piece: what is in the others, and what is missing.
void Gathering::addContents()
{
    std::string text;
    for (const Piece &piece : m_pieces)
        text +=
            piece.name + ": " + (piece.failure.empty() ? piece.what : "left out: " + piece.failure) + "\n";
    add("contents.txt", trLater("this list"), text);
    std::rotate(m_pieces.begin(), m_pieces.end() - 1, m_pieces.end());
}

} // namespace lab
