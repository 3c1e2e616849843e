#include "support/live_dialog.h"

#include "strokesview.h"
#include "support/reports.h"

#include <QTest>

#include <stdexcept>

LiveDialog::LiveDialog()
{
    QObject::connect(&view(), &ItemView::out_pen_event, &m_context, [this](const auto &) { ++pens; });
    QObject::connect(&view(), &ItemView::out_touch_event, &m_context, [this](const auto &) { ++touches; });
    QObject::connect(&view(), &ItemView::out_erase_event, &m_context, [this](const auto &) { ++erasers; });
    if (!QTest::qWaitForWindowExposed(m_dialog.get()))
        throw std::runtime_error("the window is not shown");
    QCoreApplication::processEvents();
}

ZorvicHardware &LiveDialog::hardware()
{
    return *m_dialog->findChild<ZorvicHardware *>();
}

StrokesView &LiveDialog::view()
{
    return *m_dialog->findChild<StrokesView *>();
}

bool LiveDialog::takes_a_pen()
{
    constexpr quint8 pen = 15;    // not used by the tests themselves
    constexpr int middle = 16384; // raw board units
    QCoreApplication::processEvents();
    const int before = pens;
    for (const bool tip : {true, false})
        reports::deliver(hardware(), reports::pen({pen, middle, middle, tip, false, false}));
    return pens == before + 2;
}

void LiveDialog::end()
{
    m_dialog->close();
    m_dialog.reset();
}
