// Sends whole sequences of reports, keys, mouse moves, ticks and size changes through the input model into
// the dialog and its view. The bytes choose kinds, ids and positions.

#include "application.h"
#include "fuzzing.h"

#include "lxwindow.h"

#include <QKeyEvent>
#include <QMouseEvent>

#include <fuzzer/FuzzedDataProvider.h>

#include <string>

#include <dlfcn.h>

namespace {

constexpr int keys[] = {Qt::Key_Backspace, Qt::Key_Space, Qt::Key_Left, Qt::Key_Right,
                        Qt::Key_H,         Qt::Key_C,     Qt::Key_G,    Qt::Key_S,
                        Qt::Key_B,         Qt::Key_0,     Qt::Key_9,    Qt::Key_Return};
constexpr int longest_sequence = 64;
constexpr int most_contacts = 12;
constexpr int largest_side = 1200; // pixels
constexpr std::size_t longest_report = 64;

/// A dialog for one input, and the operations that the bytes choose.
class Session
{
public:
    explicit Session(FuzzedDataProvider &choice) : m_choice(choice) { }

    void act()
    {
        switch (m_choice.ConsumeIntegralInRange(0, 7)) {
        case 0:
            return deliver(bytes_after("\x08\x21", 6));
        case 1:
            return deliver(bytes_after({"\x00\x45", 2}, contacts() * 7));
        case 2:
            return deliver(bytes_after({"\x00\x46", 2}, contacts() * 9));
        case 3:
            return deliver(m_choice.ConsumeRandomLengthString(longest_report));
        case 4:
            return press();
        case 5:
            return move_mouse();
        case 6:
            return m_dialog.resize(side(), side());
        default:
            return tick();
        }
    }

private:
    std::size_t contacts() { return m_choice.ConsumeIntegralInRange<std::size_t>(0, most_contacts); }
    int side() { return m_choice.ConsumeIntegralInRange(1, largest_side); }

    std::string bytes_after(const std::string &header, std::size_t count)
    {
        return header + m_choice.ConsumeBytesAsString(count);
    }

    void deliver(const std::string &report)
    {
        ZorvicHardware::processPacketCallback(1, reinterpret_cast<const unsigned char *>(report.data()),
                                              static_cast<unsigned int>(report.size()),
                                              m_dialog.findChild<ZorvicHardware *>());
    }

    void press()
    {
        QKeyEvent event(QEvent::KeyPress, m_choice.PickValueInArray(keys), Qt::NoModifier);
        m_dialog.keyPressEvent(&event);
    }

    void move_mouse()
    {
        const QPointF position(m_choice.ConsumeIntegral<std::int16_t>(),
                               m_choice.ConsumeIntegral<std::int16_t>());
        QMouseEvent event(QEvent::MouseMove, position, Qt::NoButton,
                          m_choice.ConsumeBool() ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
        if (QWidget *const view = m_dialog.childAt(m_dialog.rect().center()))
            QCoreApplication::sendEvent(view, &event);
    }

    void tick()
    {
        m_dialog.in_timer_update();
        QCoreApplication::processEvents();
    }

    FuzzedDataProvider &m_choice;
    LanternixDialog m_dialog{nullptr};
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    need_application();
    // Kept open, because the fuzzer keeps updating the coverage counters of a library that it has seen.
    static const void *const driver = dlopen("libzorvicboardex.so.1", RTLD_NOW);
    require(driver);
    FuzzedDataProvider choice(data, size);
    Session session(choice);
    for (int i = 0; i < longest_sequence && choice.remaining_bytes() > 0; ++i)
        session.act();
    return 0;
}
