#pragma once

#include "support/driver_library.h"

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace driver_testing {

/// A simulated driver behind the recorder, as a program opens it.
class ARecording : public ADriver
{
protected:
    ARecording() { close(); }
    ~ARecording() override
    {
        close();
        for (const char *const name :
             {"BOARDREC_DRIVER", "BOARDREC_CAPTURE", "BOARDREC_SOCKET", "BOARDREC_IDENTIFY", "BOARDREC_KEEP"})
            unsetenv(name);
    }

    /// Opens the recorder in front of the driver in @p folder.
    void record(const QString &folder = SimulatedDriver::folder())
    {
        record_driver(folder.toStdString() + "/libzorvicboardex.so.1");
    }
    void record_driver(const std::string &driver)
    {
        setenv("BOARDREC_DRIVER", driver.c_str(), 1);
        setenv("BOARDREC_CAPTURE", capture_path().c_str(), 1);
        open_recorder();
    }
    /// A recording begins when the program asks for a function.
    void open_recorder()
    {
        open(QStringLiteral(LANTERNIX_RECORDER_FOLDER));
        has("Attach");
    }
    std::string capture_path() const { return path("capture.jsonl"); }

    /// The whole lines of the recording, all or those of one type.
    std::vector<nlohmann::json> lines(const std::string &type = {}) const
    {
        std::vector<nlohmann::json> wanted;
        std::ifstream file(capture_path());
        for (std::string text; std::getline(file, text) && !file.eof();) {
            const auto line = nlohmann::json::parse(text);
            if (type.empty() || line["type"] == type)
                wanted.push_back(line);
        }
        return wanted;
    }
    /// The bytes of each report, as "board: hex".
    std::vector<std::string> recorded_reports() const
    {
        std::vector<std::string> reports;
        for (const nlohmann::json &line : lines("raw"))
            reports.push_back(line["board"].dump() + ": " + line["hex"].get<std::string>());
        return reports;
    }
    bool has(const std::string &name) { return symbol("zorvic" + name) != nullptr; }
};

} // namespace driver_testing
