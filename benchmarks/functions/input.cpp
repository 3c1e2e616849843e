// Measures the input model and the path of a record to its widget and its item.

#include "timing.h"

#include "item.h"
#include "itemview.h"
#include "korvane.h"
#include "lxwindow.h"

#include <QPainterPath>
#include <QWidget>

#include <memory>

namespace {

using Records = std::vector<Korvane::Controls>;

/// An input model in which every contact is taken.
class Model
{
public:
    Model()
    {
        QObject::connect(&korvane, &Korvane::out_korvane_pen_event,
                         [](Korvane::Controls &event) { event.flags |= Korvane::Controls::taken; });
        QObject::connect(&korvane, &Korvane::out_korvane_touch_event, take_all);
        QObject::connect(&korvane, &Korvane::out_korvane_erase_event, take_all);
    }

    QWidget widget;
    Korvane korvane{&widget, nullptr};

private:
    static void take_all(Records &event)
    {
        for (Korvane::Controls &record : event)
            record.flags |= Korvane::Controls::taken;
    }
};

void convert_pen(benchmark::State &state)
{
    Model model;
    ZorvicHardware::PenEvent event;
    event.tip = true;
    for (auto _ : state) {
        event.x ^= 256; // a sample that changes nothing is dropped
        model.korvane.in_pen_event(event);
    }
    event.tip = false;
    model.korvane.in_pen_event(event);
}
BENCHMARK(convert_pen);

template <typename Contact>
void convert_list(benchmark::State &state, void (Korvane::*convert)(const QList<Contact> &))
{
    Model model;
    QList<Contact> contacts;
    for (int id = 0; id < state.range(0); ++id) {
        Contact contact;
        contact.id = static_cast<quint8>(id);
        contact.x = 2'000 * id;
        contact.down = true;
        contacts.append(contact);
    }
    for (auto _ : state) {
        for (Contact &contact : contacts)
            contact.x ^= 256;
        (model.korvane.*convert)(contacts);
    }
    for (Contact &contact : contacts)
        contact.down = false;
    (model.korvane.*convert)(contacts);
}

void convert_touch(benchmark::State &state)
{
    convert_list(state, &Korvane::in_touch_event);
}
BENCHMARK(convert_touch)->ArgName("contacts")->Arg(1)->Arg(10);

void convert_erase(benchmark::State &state)
{
    convert_list(state, &Korvane::in_erase_event);
}
BENCHMARK(convert_erase)->ArgName("contacts")->Arg(1)->Arg(10);

constexpr int field = 60; // pixels: each item has one field to itself

/// A view of items side by side, which take the contacts over them.
std::unique_ptr<ItemView> view_of_items(std::int64_t count)
{
    auto view = std::make_unique<ItemView>(0);
    QPainterPath outline;
    outline.addRect(0, 0, field, field);
    for (int i = 0; i < count; ++i) {
        const auto item = std::make_shared<Item>(QPointF(field * (i % 16), field * (i / 16)), 0.0F, 1.0F, i);
        item->set_outline(outline);
        view->add_item(item);
    }
    return view;
}

Records records(int count, int buttons, int first_id, double x)
{
    Records result;
    for (int i = 0; i < count; ++i) {
        Korvane::Controls record;
        record.id = first_id + i;
        record.buttons = buttons;
        record.pos = record.view_pos = {x + field * (i % 16), 30.0};
        result.push_back(record);
    }
    return result;
}

/// Routes a pen that is down, which belongs to its item.
void route_pen_down(benchmark::State &state)
{
    const auto view = view_of_items(state.range(0));
    const Records pen = records(1, 1, -1, 30);
    for (auto _ : state)
        view->in_pen_event(pen.front());
}
BENCHMARK(route_pen_down)->ArgName("items")->Arg(0)->Arg(10)->Arg(128);

/// Routes a pen that hovers. The item under it is searched for each time; here it is the rearmost item.
void route_pen_hovering(benchmark::State &state)
{
    const auto view = view_of_items(state.range(0));
    const Records pen = records(1, 0, -1, 30);
    for (auto _ : state)
        view->in_pen_event(pen.front());
}
BENCHMARK(route_pen_hovering)->ArgName("items")->Arg(0)->Arg(10)->Arg(128);

void route_ten_touches_down(benchmark::State &state)
{
    const auto view = view_of_items(state.range(0));
    const Records touches = records(10, 1, 256, 30);
    for (auto _ : state)
        view->in_touch_event(touches);
}
BENCHMARK(route_ten_touches_down)->ArgName("items")->Arg(0)->Arg(10)->Arg(128);

/// Routes a record from the input model to the view, where it ends: contacts that hover draw nothing.
void route_window_pen(benchmark::State &state)
{
    LanternixDialog dialog(nullptr);
    Records pen = records(1, 0, -1, 0);
    pen.front().pos = {0.4, 0.4};
    for (auto _ : state)
        dialog.in_korvane_pen(pen.front());
    if (!(pen.front().flags & Korvane::Controls::taken))
        state.SkipWithError("the pen is not over the window");
}
BENCHMARK(route_window_pen);

void route_window_ten_touches(benchmark::State &state)
{
    LanternixDialog dialog(nullptr);
    Records touches = records(10, 0, 256, 0);
    for (Korvane::Controls &touch : touches)
        touch.pos = {0.4, 0.4};
    for (auto _ : state)
        dialog.in_korvane_touch(touches);
    if (!(touches.back().flags & Korvane::Controls::taken))
        state.SkipWithError("the touches are not over the window");
}
BENCHMARK(route_window_ten_touches);

} // namespace
