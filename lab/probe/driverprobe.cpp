// driver-probe: the part of lanternix-lab probe that a driver may crash or hold up, in a process of its own.
// Writes what it finds, and before each step that step's name, as a line of JSON to the descriptor that its
// first argument names.
//
//   driver-probe FD open NAME          opens the driver as the program does, and tells its path
//   driver-probe FD identify PATH      tells size and SHA-256 of a file, which is not opened as a driver, and
//   Qt's version driver-probe FD ask PATH SECONDS   attaches, enumerates, and listens for that long at most

#include "probe/conversation.h"

#include "recorder/fileidentity.h"
#include "recorder/screens.h"

#include <QGuiApplication>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using probe::Teller;

/// A crash is a line of the answer and leaves no core file; nothing of the process outlives the command.
void prepare(int answers)
{
    const rlimit none{};
    setrlimit(RLIMIT_CORE, &none);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    fcntl(answers, F_SETFD, FD_CLOEXEC);
    // Ctrl-C ends the listening, but not before the board has its modes back; the driver's threads inherit
    // this.
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
}

void open(const Teller &teller, const char *name)
{
    teller.begin("dlopen");
    void *const library = dlopen(name, RTLD_NOW);
    link_map *map = nullptr;
    if (!library || dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) {
        const char *const message = dlerror();
        teller.tell({{"refused", message ? message : "the driver cannot be opened"}});
        return;
    }
    std::error_code ignored;
    teller.tell({{"path", std::filesystem::absolute(map->l_name, ignored).lexically_normal().string()}});
}

void identify(const Teller &teller, const char *path)
{
    teller.begin("identify");
    const recorder::FileIdentity file = *path ? recorder::identify(path) : recorder::FileIdentity();
    teller.tell({{"size", file.size}, {"sha256", file.sha256}, {"qt", qVersion()}});
}

const Teller *fatalTeller = nullptr; ///< of Qt's last words
QString firstWarning;                ///< the cause of them

/// Qt warns why there is no desktop, and ends the process.
void tellFatal(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (firstWarning.isEmpty())
        firstWarning = message.section('\n', 0, 0).trimmed();
    if (type != QtFatalMsg || !fatalTeller)
        return;
    fatalTeller->tell({{"refused", firstWarning.toStdString()}});
    _exit(EXIT_FAILURE);
}

void screens(const Teller &teller, int &argc, char *argv[])
{
    teller.begin("screens");
    fatalTeller = &teller;
    qInstallMessageHandler(tellFatal);
    const QGuiApplication application(argc, argv);
    teller.tell({{"screens", recorder::describeScreens()}});
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 4) {
        std::fputs("driver-probe is a part of lanternix-lab probe\n", stderr);
        return EXIT_FAILURE;
    }
    const int answers = std::atoi(argv[1]);
    const std::string_view command = argv[2];
    prepare(answers);
    const Teller teller(answers);
    if (command == "open")
        open(teller, argv[3]);
    else if (command == "identify")
        identify(teller, argv[3]);
    else if (command == "screens")
        screens(teller, argc, argv);
    else if (command == "ask" && argc == 5)
        probe::ask(teller, argv[3], std::atof(argv[4]));
    teller.tell({{"end", true}});
    // The driver's destructors are no part of the answer.
    _exit(EXIT_SUCCESS);
}
