#include "support/dialog_on_a_screen.h"

#include "support/screen.h"

#include <QCoreApplication>

namespace {

void send_pens(LanternixDialog &dialog, Records &records)
{
    for (Korvane::Controls &record : records)
        dialog.in_korvane_pen(record);
}

void send_touches(LanternixDialog &dialog, Records &records)
{
    dialog.in_korvane_touch(records);
}

void send_erasers(LanternixDialog &dialog, Records &records)
{
    dialog.in_korvane_erase(records);
}

} // namespace

const Kind pen{"Pen", send_pens, 0, false};
const Kind touch{"Touch", send_touches, 1, true};
const Kind eraser{"Eraser", send_erasers, 2, true};

DialogOnAScreen::DialogOnAScreen()
{
    set_screen_geometry({QPoint(0, 0), screen_size});
    dialog.showNormal();
    dialog.setGeometry(dialog_area);
    QCoreApplication::processEvents();
    QObject::connect(view, &ItemView::out_pen_event, &m_context,
                     [this](const auto &record) { deliveries[0].push_back({record}); });
    QObject::connect(view, &ItemView::out_touch_event, &m_context,
                     [this](const auto &records) { deliveries[1].push_back(records); });
    QObject::connect(view, &ItemView::out_erase_event, &m_context,
                     [this](const auto &records) { deliveries[2].push_back(records); });
}

bool DialogOnAScreen::send(const Kind &kind, int id, QPoint place, int buttons)
{
    Records records = {at(place, id, buttons)};
    kind.send(dialog, records);
    return records.front().flags & 1U;
}

Korvane::Controls DialogOnAScreen::at(QPoint place, int id, int buttons)
{
    const QPoint global = place + dialog_area.topLeft();
    Korvane::Controls record;
    record.id = id;
    record.buttons = buttons;
    record.pos = record.view_pos =
        QPointF(global.x() / double(screen_size.width()), global.y() / double(screen_size.height()));
    return record;
}
