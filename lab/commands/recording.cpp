#include "commands/recording.h"

#include "commands/files.h"
#include "commands/recordingsocket.h"
#include "language.h"

#include <cstdio>

namespace lab {

Recording::Recording(const Choice &choice)
    : m_choice(choice), m_recorder(findRecorder()),
      m_driver(choice.scenario.empty() ? findDriver(choice.driver) : findSimulatedDriver()),
      m_file(absolute(choice.file))
{
    if (m_recorder.empty() || m_driver.empty())
        return;
    m_lock = std::make_unique<Lock>("recording", m_driver);
    if (!m_lock->isHeld())
        complain(tr("the board of %s is being recorded already"), m_driver.c_str());
}

void Recording::prepare(Launch &launch) const
{
    launch.prependPath("LD_LIBRARY_PATH", folderOf(m_recorder));
    launch.set("BOARDREC_DRIVER", m_driver);
    launch.set("BOARDREC_CAPTURE", m_file);
    launch.set("BOARDREC_SOCKET", nameOfRecordingSocket());
    if (m_choice.identify)
        launch.set("BOARDREC_IDENTIFY", "1");
    if (!m_choice.scenario.empty())
        launch.set("BOARDSIM_SCENARIO", absolute(m_choice.scenario));
}

void addBoardOptions(const Command &command, Recording::Choice &choice)
{
    const Option scenario =
        command.option("--sim", choice.scenario, "Use the simulated board, which plays this scenario")
            .type("SCENARIO")
            .existingFile();
    command.option("--driver", choice.driver, "Use this driver instead of the one that the loader finds")
        .type("PATH")
        .existingFile()
        .excludes(scenario);
    command.flag("--identify", choice.identify,
                 "Also write user, host and serial numbers into the recording");
}

} // namespace lab
