#include "capture/signals.h"

namespace capture {

std::vector<SignalValue> valuesOf(ReportKind kind, const Contact &contact)
{
    constexpr int wordWidth = 16;
    std::vector<SignalValue> values{{"x", wordWidth, contact.x},
                                    {"y", wordWidth, contact.y},
                                    {kind == ReportKind::pen ? "tip" : "down", 1, contact.down ? 1 : 0}};
    if (kind == ReportKind::pen)
        values.push_back({"button", 1, contact.button ? 1 : 0});
    if (kind == ReportKind::touch)
        values.push_back({"extent", wordWidth, contact.width});
    if (kind == ReportKind::erase) {
        values.push_back({"width", wordWidth, contact.width});
        values.push_back({"height", wordWidth, contact.height});
    }
    return values;
}

std::string signalName(int board, ReportKind kind, int contact, const char *value)
{
    return "board" + std::to_string(board) + "_" + std::string(nameOf(kind)) + std::to_string(contact) + "_"
        + value;
}

} // namespace capture
