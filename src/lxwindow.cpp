#include "lxwindow.h"

#include "item.h"
#include "process.h"
#include "strokesview.h"
#include "tickpace.h"

#include <QApplication>
#include <QDesktopWidget>
#include <QIcon>
#include <QKeyEvent>
#include <QStackedLayout>
#include <QTimer>

#include <chrono>
#include <optional>

namespace {

constexpr int tick_ms = 8;
constexpr int letter_case = 0x20; // the bit that tells lower-case from upper-case letters

/// Where a contact is drawn. Whether it is the program's is asked at ZorvicHardware::mapUSBPosToDevicePos,
/// which maps by 32767 instead of 32768 units.
QPoint pixels(QPointF normalised, QSize screen)
{
    return {static_cast<int>(screen.width() * normalised.x()),
            static_cast<int>(screen.height() * normalised.y())};
}

/// Puts a record into the coordinates of @p target.
void move_into(Korvane::Controls &record, const QWidget &target, const QWidget &dialog, QPoint dialog_point)
{
    record.pos = target.mapFrom(&dialog, dialog_point);
    record.view_pos = record.pos;
}

void scale_radius(Korvane::Controls &record, QSize screen)
{
    record.radius = {record.radius.x() * screen.width(), record.radius.y() * screen.height()};
}

/// Names the window and the application for the desktop and for assistive tools. None of it is drawn in the
/// window.
void introduce(QWidget &window)
{
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Lanternix"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(LanternixDialog::version));
    QIcon icon; // the executable's; a window without it has none
    for (const int size : {16, 32, 64})
        icon.addFile(QStringLiteral(":/icons/%1.png").arg(size), {size, size});
    window.setWindowIcon(icon);
    window.setAccessibleName(QStringLiteral("Lanternix"));
    window.setAccessibleDescription(QStringLiteral(
        "Shows what pens, touches and erasers on electronic whiteboards report, and draws their "
        "strokes over test patterns. H shows or hides the keys, Escape ends the program."));
}

} // namespace

LanternixDialog::LanternixDialog(QWidget *parent) : QDialog(parent)
{
    introduce(*this);
    // Deliberate: the native window is made before it is translucent, and so without alpha. The view fills
    // all of it; with alpha Qt would clear the window's memory before each painting, and the X server keep a
    // second picture of it and copy that, too.
    create();
    setAttribute(Qt::WA_TranslucentBackground, true);
    auto *const layout = new QStackedLayout;
    layout->setStackingMode(QStackedLayout::StackAll);
    setLayout(layout);
    m_view = new StrokesView;
    layout->addWidget(m_view);
    m_views.push_back(m_view);

    m_korvane = std::make_unique<Korvane>(m_view, this);
    // Direct, since all live on this thread: the slots write into the sender's records.
    connect(m_korvane.get(), &Korvane::out_korvane_pen_event, this, &LanternixDialog::in_korvane_pen);
    connect(m_korvane.get(), &Korvane::out_korvane_touch_event, this, &LanternixDialog::in_korvane_touch);
    connect(m_korvane.get(), &Korvane::out_korvane_erase_event, this, &LanternixDialog::in_korvane_erase);

    m_pace = std::make_unique<TickPace>(*m_korvane);
    m_timer = new QTimer(this);
    m_timer->setSingleShot(true);
    connect(m_timer, SIGNAL(timeout()), this, SLOT(in_timer_update()));
    start_timer();
    showMaximized();
}

LanternixDialog::~LanternixDialog()
{
    // The driver may call back until it is detached, which happens below. No contact may reach a window that
    // is being destroyed.
    m_korvane->disconnect(this);
}

void LanternixDialog::detach()
{
    m_korvane->detach();
}

QRect LanternixDialog::screen_geometry() const
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    return QApplication::desktop()->screenGeometry(this);
    QT_WARNING_POP
}

/// The widget that has the contact; one that has none yet gets the widget under it, if it is over the dialog.
QWidget *LanternixDialog::capture(Targets &targets, int id, QPoint dialog_point) const
{
    QWidget *&target = targets[id];
    if (!target && rect().contains(dialog_point))
        target = childAt(dialog_point);
    return target;
}

void LanternixDialog::in_korvane_pen(Korvane::Controls &event)
{
    const QRect screen = screen_geometry();
    const QPoint dialog_point = mapFromGlobal(pixels(event.pos, screen.size()) + screen.topLeft());

    // Deliberate: the copy keeps the flags from before routing, unlike those of touches and erasers.
    Korvane::Controls copy = event;
    scale_radius(copy, screen.size());
    if (QWidget *const target = capture(m_pen_targets, event.id, dialog_point)) {
        event.flags |= Korvane::Controls::taken;
        move_into(copy, *target, *this, dialog_point);
        if (target == m_view)
            m_view->in_pen_event(copy);
    }
    if (event.buttons == 0)
        m_pen_targets[event.id] = nullptr;
}

void LanternixDialog::in_korvane_touch(std::vector<Korvane::Controls> &event)
{
    route(event, m_touch_targets, m_touch_batches, &ItemView::in_touch_event);
}

void LanternixDialog::in_korvane_erase(std::vector<Korvane::Controls> &event)
{
    route(event, m_erase_targets, m_erase_batches, &ItemView::in_erase_event);
}

void LanternixDialog::route(std::vector<Korvane::Controls> &event, Targets &targets, Batches &batches,
                            ViewOperation deliver)
{
    const QRect screen = screen_geometry();
    for (Korvane::Controls &record : event) {
        // Deliberate: the screen's origin is subtracted here, but added for pens.
        const QPoint dialog_point = mapFromGlobal(pixels(record.pos, screen.size()) - screen.topLeft());
        QWidget *const target = capture(targets, record.id, dialog_point);
        if (!target)
            continue;
        record.flags |= Korvane::Controls::taken;
        Korvane::Controls copy = record;
        move_into(copy, *target, *this, dialog_point);
        scale_radius(copy, screen.size());
        batches[target].push_back(copy);
    }
    for (auto &[target, batch] : batches) {
        if (!batch.empty() && target == m_view)
            (m_view->*deliver)(batch);
        batch.clear();
    }
    for (const Korvane::Controls &record : event) {
        if (record.buttons == 0)
            targets[record.id] = nullptr;
    }
}

void LanternixDialog::start_timer()
{
    m_timer->start(tick_ms);
    m_pace->expect_tick(std::chrono::steady_clock::now() + std::chrono::milliseconds(tick_ms));
}

void LanternixDialog::begin_renders()
{
    std::size_t count = 0;
    for (const ItemView *const view : m_views)
        count += view->items().size();
    std::optional<process::SmallStacks> small;
    if (count > process::kept_stacks)
        small.emplace();
    for (ItemView *const view : m_views) {
        for (const auto &item : view->items())
            item->update_begin();
    }
}

void LanternixDialog::in_timer_update()
{
    start_timer();
    begin_renders();
    for (ItemView *const view : m_views) {
        for (const auto &item : view->items())
            item->update_end();
    }
    for (ItemView *const view : m_views)
        view->update(view->get_dirty_region());
}

void LanternixDialog::toggle_maximized()
{
    if (m_maximized)
        showNormal();
    else
        showMaximized();
    m_maximized = !m_maximized;
}

/// Deliberate: QDialog's own handling is never called, so no other key does anything.
void LanternixDialog::keyPressEvent(QKeyEvent *event)
{
    const int key = event->key();
    switch (key) {
    case Qt::Key_Escape:
        close();
        return;
    case Qt::Key_Return:
        toggle_maximized();
        return;
    case Qt::Key_Backspace:
        m_view->clear_strokes();
        return;
    case Qt::Key_Space:
        m_view->m_show_tags = !m_view->m_show_tags;
        return;
    case Qt::Key_Left:
        m_view->toggle_vcalib();
        return;
    case Qt::Key_Right:
        m_view->toggle_hcalib();
        return;
    default:
        break;
    }
    switch (key & ~letter_case) {
    case Qt::Key_H:
        m_view->toggle_help();
        return;
    case Qt::Key_C:
        m_view->toggle_colors();
        return;
    case Qt::Key_G:
        m_view->toggle_grid();
        return;
    case Qt::Key_S:
        m_view->toggle_shapes();
        return;
    case Qt::Key_B:
        m_view->toggle_black();
        return;
    default:
        break;
    }
    if (key >= Qt::Key_0 && key <= Qt::Key_9)
        m_view->m_stroke_width = static_cast<float>(key - Qt::Key_0);
}
