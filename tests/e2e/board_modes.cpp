#include "e2e/board_modes.h"

std::vector<std::string> modes_of_both_boards(bool on)
{
    const std::string mode = on ? "1" : "0";
    std::vector<std::string> calls;
    for (int pen = 0; pen < 4; ++pen) {
        const std::string command = "3a504e3" + std::to_string(pen) + "320d"; // ":PN" pen "2\r"
        const std::string report_mode = ", " + std::to_string(pen + 1) + ", 0, " + mode + ")";
        calls.insert(calls.end(),
                     {"WritePacket(7, " + command + ", 6)", "WritePacket(3, " + command + ", 6)",
                      "SetPointingDeviceDestination(7" + report_mode,
                      "SetPointingDeviceDestination(3" + report_mode});
    }
    const std::string digit = on ? "49" : "48"; // code of the character 1 or 0
    calls.insert(calls.end(),
                 {"SetTouchDestination(7, " + mode + ")", "SetTouchDestination(3, " + mode + ")",
                  "SetLATEDetection(7, " + digit + ")", "SetLATEDetection(3, " + digit + ")"});
    return calls;
}

std::vector<std::string> calls_at_the_end()
{
    std::vector<std::string> calls = modes_of_both_boards(false);
    calls.insert(calls.end(), {"ClearCallback(0)", "Detach()", "Detach()"});
    return calls;
}
