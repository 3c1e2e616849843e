#pragma once

#include "language.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace probe {

/// A place where the loader has looked for the driver, in its order.
struct Place
{
    std::string path;  ///< of the file, or of the loader's list of libraries
    std::string why;   ///< "LD_LIBRARY_PATH", "system search path"; in English, as the next
    std::string found; ///< what is there: "not there", "taken"
};

/// What an ELF file says of itself; nothing of it is loaded.
struct ElfFacts
{
    bool isElf = false;
    bool isLibrary = false;
    int bits = 0;                 ///< 32 or 64
    std::string architecture;     ///< "x86-64"
    bool fitsThisProcess = false; ///< class, byte order and architecture are those of this command
    std::vector<std::string> needed;
    std::vector<std::string> functions; ///< of those that the program resolves, the defined ones
};

struct Device
{
    int index = 0;
    int kind = 0;
    int board = 0;
    std::string info; ///< the additional information, as UTF-8
    std::string type; ///< from here on as the program decodes it
    int vid = 0;
    int pid = 0;
    int xp = 0;
    int xt = 0;
    int xl = 0;
    std::string record; ///< in hexadecimal, without the zeros at its end
};

/// What the boards have reported while the probe listened.
struct Reports
{
    std::int64_t count = 0;
    std::vector<int> boards; ///< that have reported
    int board = 0;           ///< of the first report
    double after = 0;        ///< seconds from the beginning to the first report
    std::string first;       ///< in hexadecimal
    double listened = 0;     ///< seconds
};

/// How the child's work with the driver ended.
struct Ending
{
    enum class Kind { notRun, whole, refused, crashed, exited, hung };

    Kind kind = Kind::notRun;
    std::string step;  ///< in which it ended, such as "zorvicAttach"
    std::string cause; ///< the loader's message, or the signal's name
    int status = 0;    ///< of an exit
};

/// A process that has the driver open.
struct Holder
{
    int process = 0;
    std::string program;
};

/// What a probe has found out. Plain values; what was not found out is as it begins.
struct Answer
{
    std::vector<Place> places;
    std::string path; ///< of the driver, behind links; empty if there is none
    std::int64_t size = 0;
    std::string sha256;
    ElfFacts elf;
    std::vector<std::string> missingLibraries;
    std::vector<std::string> missingFunctions; ///< of those that the program resolves
    std::string qt;                            ///< its version
    std::vector<int> version;                  ///< of the driver: four numbers, or none
    bool isAsked = false; ///< whether the driver was attached to; the next four stay as they are otherwise
    std::optional<bool> attached;   ///< the driver's answer
    double attachSeconds = 0;       ///< until it came
    std::optional<int> deviceCount; ///< as the driver tells
    std::vector<Device> devices;
    Reports reports;
    Ending ending;
    std::vector<Holder> holders;
    bool isRecorded = false;                                      ///< a recording of the board goes on
    std::vector<std::pair<std::string, std::string>> permissions; ///< a path, and what is there, in English
};

/// What a person is to do, and whether it is nothing.
struct Verdict
{
    bool isReady = false;
    std::string text; ///< begins with "ready", or is the one thing to do
};

Verdict verdictOf(const Answer &answer, lab::Audience audience = lab::Audience::person);

/// What a device of this kind is called: "board".
std::string kindName(int kind, lab::Audience audience);

/// The answer for a person, the verdict first.
std::string answerText(const Answer &answer, lab::Audience audience = lab::Audience::person);
/// The same as one JSON object.
std::string answerJson(const Answer &answer);

} // namespace probe
