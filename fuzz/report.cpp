// Passes any bytes of any length as one report and checks that emitted values are in the ranges that the
// records promise.

#include "application.h"
#include "fuzzing.h"

#include "hardware/zorvichardware.h"

#include <QWidget>

#include <vector>

namespace {

constexpr int highest_position = 65535;
constexpr int highest_pen = 15;
constexpr int highest_id = 127;

bool is_position(int value)
{
    return value >= 0 && value <= highest_position;
}

/// A board manager, with or without a widget of interest, whose emissions are checked.
class Manager
{
public:
    explicit Manager(QWidget *widget)
    {
        hardware.setWidgetOfInterest(widget);
        QObject::connect(&hardware, &ZorvicHardware::penEvent, [](const ZorvicHardware::PenEvent &pen) {
            require(pen.pen <= highest_pen && is_position(pen.x) && is_position(pen.y));
        });
        QObject::connect(&hardware, &ZorvicHardware::touchEvent,
                         [](const ZorvicHardware::TouchEvent &touches) {
                             require(!touches.isEmpty());
                             for (const ZorvicHardware::TouchContact &touch : touches)
                                 require(touch.id <= highest_id && is_position(touch.x)
                                         && is_position(touch.y) && is_position(touch.extent));
                         });
        QObject::connect(
            &hardware, &ZorvicHardware::eraseEvent, [](const ZorvicHardware::EraseEvent &erasers) {
                for (const ZorvicHardware::EraseContact &eraser : erasers)
                    require(eraser.id <= highest_id && is_position(eraser.x) && is_position(eraser.y)
                            && is_position(eraser.width) && is_position(eraser.height));
            });
    }

    ZorvicHardware hardware{nullptr};
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    need_application();
    static QWidget widget;
    static Manager open(nullptr);
    static Manager redirecting(&widget);

    // A copy of the exact size, so that AddressSanitizer notices the first byte read behind the report.
    const std::vector<unsigned char> report(data, data + size);
    for (Manager *const manager : {&open, &redirecting})
        ZorvicHardware::processPacketCallback(1, report.data(), static_cast<unsigned int>(size),
                                              &manager->hardware);
    return 0;
}
