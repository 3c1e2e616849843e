// Sends whole sequences of reports, keys, mouse moves, ticks and size changes through the input model into
// the dialog and its view. The bytes choose kinds, ids and positions.
//
// Making a dialog takes longer than most sequences, so that one serves all inputs. It is brought back to its
// start after each: a finding can be reproduced from its input alone. That it is back is checked too, by its
// picture among other things. Only pictures that the program keeps to draw the same faster stay.

#include "application.h"
#include "fuzzing.h"

#include "lxwindow.h"
#include "strokesview.h"

#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPixmap>
#include <QTimer>

#include <fuzzer/FuzzedDataProvider.h>

#include <bitset>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <string>

#include <dlfcn.h>

namespace {

constexpr int keys[] = {Qt::Key_Backspace, Qt::Key_Space, Qt::Key_Left,  Qt::Key_Right,
                        Qt::Key_C,         Qt::Key_G,     Qt::Key_S,     Qt::Key_B,
                        Qt::Key_0,         Qt::Key_9,     Qt::Key_Return};
constexpr int longest_sequence = 32;
constexpr int most_ticks = 2; // each renders every info tag on a thread of its own
constexpr int most_sizes = 3; // each draws the pattern again
constexpr int most_contacts = 6;
constexpr std::size_t longest_report = 64;

// The screen of Qt's minimal platform has 240 x 320 pixels.
constexpr QRect start_geometry(0, 0, 160, 120);
constexpr int largest_side = 240; // pixels
constexpr float start_width = 3;

// Raw board units. Far away lies beyond the largest dialog.
constexpr int far_away = 65535;
constexpr int farther_still = far_away - 1;
constexpr int in_the_dialog = 1;

/// The contacts that have reported since the dialog was at its start.
struct Seen
{
    std::bitset<16> pens;
    std::bitset<128> touches;
    std::bitset<128> erasers;
};

/// The program's window, which can be brought back to its start.
class Window
{
public:
    Window()
    {
        open();
        m_dialog->resize(largest_side, largest_side); // images never become smaller again
        bring_back();
        m_start = picture();
    }

    LanternixDialog &dialog() { return *m_dialog; }
    StrokesView &view() { return *m_dialog->findChild<StrokesView *>(); }

    void deliver(const std::string &report)
    {
        ZorvicHardware::processPacketCallback(1, reinterpret_cast<const unsigned char *>(report.data()),
                                              static_cast<unsigned int>(report.size()), &hardware());
    }

    void press(int key)
    {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        m_dialog->keyPressEvent(&event);
        if (key == Qt::Key_Return)
            m_maximized = !m_maximized;
        else
            m_pattern_chosen = true; // most keys choose one
    }

    void move_mouse(QPoint position, Qt::MouseButtons buttons)
    {
        QMouseEvent event(QEvent::MouseMove, position, Qt::NoButton, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(&view(), &event);
    }

    void tick()
    {
        m_dialog->in_timer_update();
        stop_timer();
        QCoreApplication::processEvents();
    }

    /// Ends the program, whatever goes on, and starts it again.
    void open()
    {
        m_dialog.reset();
        m_dialog = std::make_unique<LanternixDialog>(nullptr);
        m_maximized = true;
        m_pattern_chosen = true; // the help
        stop_timer();
        QObject::connect(&hardware(), &ZorvicHardware::penEvent,
                         [this](const ZorvicHardware::PenEvent &pen) { m_seen.pens.set(pen.pen); });
        QObject::connect(&hardware(), &ZorvicHardware::touchEvent,
                         [this](const ZorvicHardware::TouchEvent &touches) {
                             for (const ZorvicHardware::TouchContact &touch : touches)
                                 m_seen.touches.set(touch.id);
                         });
        QObject::connect(&hardware(), &ZorvicHardware::eraseEvent,
                         [this](const ZorvicHardware::EraseEvent &erasers) {
                             for (const ZorvicHardware::EraseContact &eraser : erasers)
                                 m_seen.erasers.set(eraser.id);
                         });
        m_dialog->setGeometry(start_geometry);
    }

    void bring_back()
    {
        if (m_pattern_chosen) {
            // Black or another, then the grid, then nothing: the help would take longer than all the rest.
            for (const int key : {Qt::Key_B, Qt::Key_G, Qt::Key_G})
                press(key);
            m_pattern_chosen = false;
        }
        if (!m_maximized)
            press(Qt::Key_Return);
        m_dialog->setGeometry(start_geometry);

        hardware().setWidgetOfInterest(nullptr); // forgets which contacts are its own
        lift_pens();
        lift<ZorvicHardware::TouchContact>(m_seen.touches, &Korvane::in_touch_event);
        lift<ZorvicHardware::EraseContact>(m_seen.erasers, &Korvane::in_erase_event);
        m_seen = {};
        move_mouse({0, 0}, Qt::NoButton);
        hardware().setWidgetOfInterest(&view());

        view().m_show_tags = true;
        view().m_stroke_width = start_width;
        view().clear_strokes();
        tick();
    }

    void require_start()
    {
        require(view().items().empty());
        int strokes = 0;
        int rest = 0;
        view().statistics(strokes, rest, rest, rest, rest);
        require(strokes == 0);
        require(m_dialog->geometry() == start_geometry);
        require(picture() == m_start);
    }

private:
    ZorvicHardware &hardware() { return *m_dialog->findChild<ZorvicHardware *>(); }
    Korvane &input_model() { return *m_dialog->findChild<Korvane *>(); }
    QImage picture() { return m_dialog->grab().toImage(); }

    /// The clock must not decide when there is a tick.
    void stop_timer() { m_dialog->findChild<QTimer *>()->stop(); }

    /// A pen that lifts over no widget goes to the system, and comes back with its next sample.
    void lift_pens()
    {
        for (std::size_t pen = 0; pen < m_seen.pens.size(); ++pen) {
            if (!m_seen.pens.test(pen))
                continue;
            for (const int at : {far_away, in_the_dialog}) {
                ZorvicHardware::PenEvent lifted;
                lifted.pen = static_cast<quint8>(pen);
                lifted.x = at;
                lifted.y = at;
                input_model().in_pen_event(lifted);
            }
        }
    }

    /// Lifts touches or erasers. A widget keeps its contact at the first report, and none takes it at the
    /// second, with which it is forgotten; the last report is always the same, because it is remembered.
    template <typename Contact, typename Ids>
    void lift(const Ids &ids, void (Korvane::*deliver)(const QList<Contact> &))
    {
        if (ids.none())
            return;
        const auto lifted = [](std::size_t id, int at) {
            Contact contact;
            contact.id = static_cast<quint8>(id);
            contact.x = at;
            contact.y = at;
            return contact;
        };
        for (const int at : {far_away, farther_still}) {
            QList<Contact> contacts;
            for (std::size_t id = 0; id < ids.size(); ++id) {
                if (ids.test(id))
                    contacts.append(lifted(id, at));
            }
            (input_model().*deliver)(contacts);
        }
        (input_model().*deliver)({lifted(0, far_away)});
    }

    std::unique_ptr<LanternixDialog> m_dialog;
    bool m_maximized = true;
    bool m_pattern_chosen = true;
    Seen m_seen{std::bitset<16>().set(), std::bitset<128>().set(), std::bitset<128>().set()};
    QImage m_start;
};

/// One input: the operations that its bytes choose.
class Session
{
public:
    Session(FuzzedDataProvider &choice, Window &window) : m_choice(choice), m_window(window) { }

    void act()
    {
        switch (m_choice.ConsumeIntegralInRange(0, 8)) {
        case 0:
            return m_window.deliver(bytes_after("\x08\x21", 6));
        case 1:
            return m_window.deliver(contacts_after({"\x00\x45", 2}, 7, {6}));
        case 2:
            return m_window.deliver(contacts_after({"\x00\x46", 2}, 9, {6, 8}));
        case 3:
            return m_window.deliver(m_choice.ConsumeRandomLengthString(longest_report));
        case 4:
            return m_window.press(m_choice.PickValueInArray(keys));
        case 5:
            return move_mouse();
        case 6:
            return resize();
        case 7:
            return tick();
        default:
            return rest();
        }
    }

private:
    int side() { return m_choice.ConsumeIntegralInRange(1, largest_side); }

    std::string bytes_after(const std::string &header, std::size_t count)
    {
        return header + m_choice.ConsumeBytesAsString(count);
    }

    /// Contacts of @p size bytes. Few ids, so that contacts move and lift. The bytes at @p high_bytes can
    /// make a contact larger than the screen, and its info tag slow to render: here they stay small. Raw
    /// reports have contacts of any id and size.
    std::string contacts_after(const std::string &header, std::size_t size,
                               std::initializer_list<std::size_t> high_bytes)
    {
        const auto count = m_choice.ConsumeIntegralInRange<std::size_t>(0, most_contacts);
        std::string report = header;
        for (std::size_t i = 0; i < count; ++i) {
            std::string contact = m_choice.ConsumeBytesAsString(size);
            contact.resize(size);
            contact[0] &= '\x87'; // down, and ids 0 to 7
            for (const std::size_t high_byte : high_bytes)
                contact[high_byte] &= '\x0f';
            report += contact;
        }
        return report;
    }

    void move_mouse()
    {
        const QPoint position(m_choice.ConsumeIntegral<std::int16_t>(),
                              m_choice.ConsumeIntegral<std::int16_t>());
        m_window.move_mouse(position, m_choice.ConsumeBool() ? Qt::LeftButton : Qt::NoButton);
    }

    void resize()
    {
        if (m_sizes == most_sizes)
            return;
        ++m_sizes;
        m_window.dialog().resize(side(), side());
    }

    void tick()
    {
        if (m_ticks == most_ticks)
            return;
        ++m_ticks;
        m_window.tick();
    }

    /// Paints the strokes again, as a view does that becomes larger than ever; or, once at most, shows the
    /// help or starts the program again, which takes longer than all the rest.
    void rest()
    {
        constexpr int help = 77; // values that mutations do not prefer
        constexpr int restart = 177;
        const auto value = m_choice.ConsumeIntegral<std::uint8_t>();
        if (m_was_slow || (value != help && value != restart))
            return m_window.view().redraw_strokes();
        m_was_slow = true;
        if (value == help)
            return m_window.press(Qt::Key_H);
        m_window.open();
    }

    FuzzedDataProvider &m_choice;
    Window &m_window;
    int m_sizes = 0;
    int m_ticks = 0;
    bool m_was_slow = false;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    need_application("minimal:enable_fonts");
    static Window *const window = [] {
        // Kept open, because the fuzzer keeps updating the coverage counters of a library that it has seen.
        require(dlopen("libzorvicboardex.so.1", RTLD_NOW));
        std::cout.rdbuf(nullptr); // each dialog tells that there is no board
        return new Window;
    }();

    FuzzedDataProvider choice(data, size);
    Session session(choice, *window);
    for (int i = 0; i < longest_sequence && choice.remaining_bytes() > 0; ++i)
        session.act();
    window->bring_back();
    window->require_start();
    return 0;
}
