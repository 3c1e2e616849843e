#include "item.h"
#include "lxwindow.h"
#include "strokesview.h"
#include "support/contact_receiver.h"
#include "support/contacts.h"
#include "support/items.h"
#include "support/reports.h"
#include "support/simulated_driver.h"

#include <QIcon>
#include <QPaintEvent>
#include <QStackedLayout>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <pthread.h>
#include <unistd.h>

namespace {

class Dialog : public LiftsContacts
{
protected:
    QTimer &timer() { return *dialog->findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly); }
    ZorvicHardware &hardware() { return *dialog->findChild<ZorvicHardware *>(); }

    SimulatedDriver driver;
    std::unique_ptr<LanternixDialog> dialog = std::make_unique<LanternixDialog>(nullptr);
    StrokesView *const view = dialog->findChild<StrokesView *>();
};

// Tests of construction and destruction.

TEST_F(Dialog, ShowsTheViewAloneInAStackOfPages)
{
    const auto *const layout = qobject_cast<QStackedLayout *>(dialog->layout());

    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->stackingMode(), QStackedLayout::StackAll);
    ASSERT_EQ(layout->count(), 1);
    EXPECT_EQ(layout->widget(0), view);
    EXPECT_EQ(view->geometry(), dialog->rect());
}

TEST_F(Dialog, StartsMaximizedAndTranslucent)
{
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(dialog->isMaximized());
    EXPECT_TRUE(dialog->testAttribute(Qt::WA_TranslucentBackground));
    EXPECT_EQ(dialog->windowType(), Qt::Dialog);
}

TEST_F(Dialog, OwnsTheInputModel)
{
    const auto *const korvane = dialog->findChild<Korvane *>();

    ASSERT_TRUE(korvane);
    EXPECT_EQ(korvane->parent(), dialog.get());
}

TEST_F(Dialog, TakesAParent)
{
    QWidget parent;

    const auto *const child = new LanternixDialog(&parent);

    EXPECT_EQ(child->parentWidget(), &parent);
}

TEST_F(Dialog, DetachesFromTheDriverBeforeItsViewGoes)
{
    std::vector<std::string> gone;
    QObject::connect(dialog->findChild<Korvane *>(), &QObject::destroyed, [&] { gone.push_back("model"); });
    QObject::connect(view, &QObject::destroyed, [&] { gone.push_back("view"); });
    QObject::connect(&timer(), &QObject::destroyed, [&] { gone.push_back("timer"); });
    driver.clear_calls();

    dialog.reset();

    EXPECT_EQ(gone, (std::vector<std::string>{"model", "view", "timer"}));
    EXPECT_FALSE(driver.calls("Detach").empty());
}

// Tests of the path from a report to the view.

constexpr int x_inside = 3276; // a tenth of the screen

class ShownDialog : public Dialog
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
        QCoreApplication::processEvents();
    }
};

class ViewRecords
{
public:
    explicit ViewRecords(const StrokesView &view)
    {
        QObject::connect(&view, &ItemView::out_pen_event, &m_context, [this](const auto &) { ++pens; });
        QObject::connect(&view, &ItemView::out_touch_event, &m_context, [this](const auto &) { ++touches; });
        QObject::connect(&view, &ItemView::out_erase_event, &m_context, [this](const auto &) { ++erasers; });
    }

    int pens = 0;
    int touches = 0;
    int erasers = 0;

private:
    QObject m_context;
};

TEST_F(ShownDialog, ReportsReachTheViewAndAreTaken)
{
    const ViewRecords records(*view);

    reports::deliver(hardware(), reports::pen({0, x_inside, x_inside, true, false, false}));
    EXPECT_EQ(records.pens, 1);

    reports::deliver(hardware(), reports::touch({{0, x_inside, x_inside, 300, true}}));
    EXPECT_EQ(records.touches, 1);

    reports::deliver(hardware(), reports::erase({{0, x_inside, x_inside, 300, 300, true}}));
    EXPECT_EQ(records.erasers, 1);

    EXPECT_EQ(records.pens + records.touches + records.erasers, 3);
    EXPECT_TRUE(handed_back(driver).empty());
}

TEST_F(ShownDialog, ReportsFromTheDriversThreadReachTheViewThroughTheEventLoop)
{
    const ViewRecords records(*view);

    std::thread([this] {
        reports::deliver(hardware(), reports::pen({0, x_inside, x_inside, true, false, false}));
    }).join();
    EXPECT_EQ(records.pens, 0);
    QCoreApplication::processEvents();

    EXPECT_EQ(records.pens, 1);
    EXPECT_TRUE(handed_back(driver).empty());
}

TEST_F(ShownDialog, ReportsOverAnotherWidgetGoBackToTheSystem)
{
    const ViewRecords records(*view);
    QWidget cover(dialog.get());
    cover.setGeometry(dialog->rect());
    cover.show();

    reports::deliver(hardware(), reports::pen({0, x_inside, x_inside, true, false, false}));
    reports::deliver(hardware(), reports::touch({{0, x_inside, x_inside, 300, true}}));

    EXPECT_EQ(records.pens + records.touches, 0);
    EXPECT_EQ(handed_back(driver).size(), 2U);
}

TEST_F(Dialog, SamplesThatNoWidgetTakesGoBackToTheSystem)
{
    const ViewRecords records(*view);
    auto *const korvane = dialog->findChild<Korvane *>();

    korvane->in_pen_event({0, 40000, 100, true, false, false});
    korvane->in_touch_event({{0, 40000, 100, 300, true}});

    EXPECT_EQ(records.pens + records.touches, 0);
    EXPECT_EQ(handed_back(driver).size(), 2U);
}

class AWindowThatIsDestroyed : public LiftsContacts
{
};

TEST_F(AWindowThatIsDestroyed, LeavesItsContactsToTheSystem)
{
    SimulatedDriver driver = SimulatedDriver::hostile("callbacks-in-detach");
    auto dialog = std::make_unique<LanternixDialog>(nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
    reports::deliver(*dialog->findChild<ZorvicHardware *>(),
                     reports::pen({0, 9000, 9000, true, false, false}));
    ASSERT_TRUE(driver.calls("SendTouchPacketToSystem").empty()) << "the view has taken the pen";

    dialog.reset();

    const std::vector<DriverCall> sent = driver.calls("SendTouchPacketToSystem");
    EXPECT_TRUE(std::any_of(sent.begin(), sent.end(), [](const DriverCall &call) {
        return call.thread == gettid();
    })) << "what came while the driver detached";
}

// Tests of the tick.

/// An item that lets a test take part in its render.
class WatchedItem : public Item
{
public:
    explicit WatchedItem(std::function<void()> on_render)
        : Item({0, 0}, 0, 1, 0), m_on_render(std::move(on_render))
    {
    }
    ~WatchedItem() override { update_end(); }

    void rebuild() override { m_on_render(); }

private:
    std::function<void()> m_on_render;
};

TEST_F(Dialog, TickComesEveryEightMilliseconds)
{
    int ticks = 0;
    QObject::connect(&timer(), &QTimer::timeout, [&ticks] { ++ticks; });

    EXPECT_TRUE(timer().isSingleShot());
    EXPECT_TRUE(timer().isActive());
    EXPECT_EQ(timer().interval(), 8);
    EXPECT_TRUE(QTest::qWaitFor([&ticks] { return ticks >= 5; }));
    EXPECT_EQ(timer().interval(), 8);
}

TEST_F(Dialog, TickStartsTheNextOneBeforeItsOwnWork)
{
    bool started = false;
    view->add_item(std::make_shared<WatchedItem>([&] { started = timer().isActive(); }));
    timer().stop();

    dialog->in_timer_update();

    EXPECT_TRUE(started);
    EXPECT_TRUE(timer().isActive());
    EXPECT_EQ(timer().interval(), 8);
}

TEST_F(Dialog, TickComesByTheTimer)
{
    bool rendered = false;
    view->add_item(std::make_shared<WatchedItem>([&rendered] { rendered = true; }));

    EXPECT_TRUE(QTest::qWaitFor([this] { return view->items().front()->m_update_flags == 0; }));
    EXPECT_TRUE(rendered);
}

TEST_F(Dialog, TickWaitsForEveryRender)
{
    std::atomic<int> finished = 0;
    const auto render = [&finished] {
        std::this_thread::yield();
        ++finished;
    };
    for (int i = 0; i < 20; ++i)
        view->add_item(std::make_shared<WatchedItem>(render));

    dialog->in_timer_update();

    EXPECT_EQ(finished, 20);
    for (const auto &item : view->items())
        EXPECT_EQ(item->m_update_flags, 0);
}

TEST_F(Dialog, TickStartsAllRendersBeforeItWaitsForOne)
{
    constexpr auto patience = std::chrono::seconds(20);
    std::promise<void> front_started;
    std::future_status status = std::future_status::deferred;
    const auto front_runs = front_started.get_future().share();
    view->add_item(std::make_shared<WatchedItem>([&] { status = front_runs.wait_for(patience); }));
    view->add_item(std::make_shared<WatchedItem>([&] { front_started.set_value(); }));

    dialog->in_timer_update();

    EXPECT_EQ(status, std::future_status::ready);
}

/// Keeps the regions in which a widget is painted.
class PaintWatcher : public QObject
{
public:
    explicit PaintWatcher(QWidget &watched) { watched.installEventFilter(this); }

    std::vector<QRegion> regions;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            regions.push_back(static_cast<QPaintEvent *>(event)->region());
        return false;
    }
};

TEST_F(ShownDialog, TickRepaintsTheDirtyRegionAndNothingElse)
{
    const QRegion dirty = QRegion(10, 20, 30, 40) + QRect(200, 300, 5, 6);
    const PaintWatcher watcher(*view);
    for (const QRect &area : dirty)
        view->add_dirty_region(area);

    ASSERT_TRUE(QTest::qWaitFor([&watcher] { return !watcher.regions.empty(); }));

    EXPECT_EQ(watcher.regions.front(), dirty);
    EXPECT_TRUE(view->get_dirty_region().isEmpty());
}

TEST_F(ShownDialog, TickWithoutADirtyRegionRepaintsNothing)
{
    const PaintWatcher watcher(*view);
    int ticks = 0;
    QObject::connect(&timer(), &QTimer::timeout, [&ticks] { ++ticks; });

    ASSERT_TRUE(QTest::qWaitFor([&ticks] { return ticks >= 5; }));

    EXPECT_TRUE(watcher.regions.empty());
}

// Tests of what the desktop and assistive tools are told.

TEST_F(Dialog, HasANameAVersionAndAnIcon)
{
    EXPECT_EQ(QGuiApplication::applicationDisplayName(), "Lanternix");
    EXPECT_EQ(QCoreApplication::applicationVersion(), LanternixDialog::version);
    EXPECT_EQ(dialog->windowTitle(), "");
    for (const int size : {16, 32, 64}) {
        const QImage icon = dialog->windowIcon().pixmap(size).toImage();
        EXPECT_EQ(icon.size(), QSize(size, size));
        EXPECT_EQ(icon.pixelColor(size / 2, size / 4 + size / 8), QColor(Qt::white)) << "the lantern's glass";
    }
}

TEST_F(Dialog, TellsAssistiveToolsWhatItIs)
{
    EXPECT_EQ(dialog->accessibleName(), "Lanternix");
    EXPECT_TRUE(dialog->accessibleDescription().contains("whiteboards"));
    EXPECT_TRUE(dialog->accessibleDescription().contains("Escape ends the program"));
}

// Tests of the threads' stacks.

std::size_t default_stack()
{
    pthread_attr_t attributes{};
    std::size_t size = 0;
    pthread_getattr_default_np(&attributes);
    pthread_attr_getstacksize(&attributes, &size);
    pthread_attr_destroy(&attributes);
    return size;
}

std::size_t own_stack()
{
    pthread_attr_t attributes{};
    std::size_t size = 0;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &size);
    pthread_attr_destroy(&attributes);
    return size;
}

struct Stacks
{
    const char *name;
    int items;
    std::size_t size; ///< of a render's stack; 0: the usual size
};

class StacksOfRenders : public Dialog, public testing::WithParamInterface<Stacks>
{
};

TEST_P(StacksOfRenders, AreSmallIfTheCLibraryWouldNotKeepThem)
{
    const std::size_t usual = default_stack();
    std::atomic<std::size_t> largest = 0;
    for (int i = 0; i < GetParam().items; ++i)
        view->add_item(std::make_shared<WatchedItem>([&largest] {
            for (std::size_t known = largest; known < own_stack();)
                largest.compare_exchange_weak(known, own_stack());
        }));

    dialog->in_timer_update();

    EXPECT_EQ(largest, GetParam().size ? GetParam().size : usual);
    EXPECT_EQ(default_stack(), usual) << "for the threads of the driver";
}

INSTANTIATE_TEST_SUITE_P(Dialog, StacksOfRenders,
                         testing::Values(Stacks{"Five", 5, 0}, Stacks{"Six", 6, std::size_t{1} << 20},
                                         Stacks{"Twenty", 20, std::size_t{1} << 20}),
                         row_name<Stacks>);

TEST(ThreadsOfTheDriver, HaveTheUsualStackAfterAReplugWithTagsOnTheScreen)
{
    SimulatedDriver driver =
        SimulatedDriver::hostile("deep-stack=4096",
                                 QStringList{R"({"type":"device","kind":1,"board":7,"info":""})",
                                             SimulatedDriver::gate("go"), R"({"type":"plug","board":7})"});
    LanternixDialog dialog(nullptr);
    auto *const view = dialog.findChild<StrokesView *>();
    std::atomic<int> rendered = 0;
    for (int i = 0; i < 5; ++i)
        view->add_item(std::make_shared<WatchedItem>([&rendered] { ++rendered; }));
    ASSERT_TRUE(QTest::qWaitFor([&rendered] { return rendered == 5; }));
    driver.clear_calls();

    driver.open_gate("go");

    EXPECT_TRUE(QTest::qWaitFor([&driver] { return !driver.calls("SetCallback").empty(); }));
}

} // namespace
