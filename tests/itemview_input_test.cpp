#include "itemview.h"

#include "support/items.h"

#include <QApplication>
#include <QMouseEvent>
#include <QTouchEvent>

#include <gtest/gtest.h>

namespace {

using TouchPoint = QTouchEvent::TouchPoint;

/// A view that logs the records made of Qt's events, before any routing.
class LoggingView : public ItemView
{
public:
    LoggingView() : ItemView(0) { }

    using ItemView::event;
    void in_pen_event(const Korvane::Controls &event) override { m_log.push_back("pen " + text_of(event)); }
    void in_touch_event(const std::vector<Korvane::Controls> &event) override
    {
        m_log.push_back("touch " + text_of(event));
    }

    void changeEvent(QEvent *) override { m_log.emplace_back("change"); }

    Log news() { return std::exchange(m_log, {}); }

private:
    Log m_log;
};

QMouseEvent mouse(QEvent::Type type, QPointF pos, Qt::MouseButtons buttons,
                  Qt::MouseEventSource source = Qt::MouseEventNotSynthesized)
{
    return {type, pos, pos, pos + QPointF(1000, 1000), Qt::NoButton, buttons, Qt::NoModifier, source};
}

constexpr QEvent::Type mouse_types[] = {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                        QEvent::MouseButtonDblClick, QEvent::MouseMove};

TEST(MouseEvent, BecomesAPenRecordWhateverItsType)
{
    LoggingView view;

    for (const QEvent::Type type : mouse_types) {
        SCOPED_TRACE(type);
        QMouseEvent event = mouse(type, {20, 30}, Qt::LeftButton);

        EXPECT_TRUE(view.event(&event));

        EXPECT_EQ(view.news(), Log{"pen -1:1 20,30 20,30"});
    }
}

TEST(MouseEvent, IsIgnoredWhenSynthesized)
{
    LoggingView view;

    for (const QEvent::Type type : mouse_types) {
        for (const auto source : {Qt::MouseEventSynthesizedBySystem, Qt::MouseEventSynthesizedByQt,
                                  Qt::MouseEventSynthesizedByApplication}) {
            SCOPED_TRACE(testing::Message() << type << " from " << source);
            QMouseEvent event = mouse(type, {20, 30}, Qt::LeftButton, source);

            EXPECT_FALSE(view.event(&event));

            EXPECT_FALSE(event.isAccepted());
            EXPECT_EQ(view.news(), Log());
        }
    }
}

TEST(MouseEvent, CountsTheLeftAndTheRightButton)
{
    LoggingView view;
    struct
    {
        Qt::MouseButtons buttons;
        const char *record;
    } const rows[] = {
        {Qt::NoButton, "pen -1:0 20,30 20,30"},
        {Qt::LeftButton, "pen -1:1 20,30 20,30"},
        {Qt::RightButton, "pen -1:2 20,30 20,30"},
        {Qt::LeftButton | Qt::RightButton, "pen -1:3 20,30 20,30"},
        {Qt::MiddleButton, "pen -1:0 20,30 20,30"},
        {Qt::AllButtons, "pen -1:3 20,30 20,30"},
    };

    for (const auto &row : rows) {
        QMouseEvent event = mouse(QEvent::MouseMove, {20, 30}, row.buttons);
        view.event(&event);
        EXPECT_EQ(view.news(), Log{row.record});
    }
}

TEST(MouseEvent, LiesOnTheNearestPixel)
{
    LoggingView view;
    struct
    {
        QPointF pos;
        const char *record;
    } const rows[] = {
        {{20.4, 30.6}, "pen -1:0 20,31 20,31"},
        {{20.5, 30.49}, "pen -1:0 21,30 21,30"},
        {{-20.4, -30.6}, "pen -1:0 -20,-31 -20,-31"},
    };

    for (const auto &row : rows) {
        QMouseEvent event = mouse(QEvent::MouseMove, row.pos, Qt::NoButton);
        view.event(&event);
        EXPECT_EQ(view.news(), Log{row.record});
    }
}

TEST(MouseEvent, ArrivesAlsoWithNoButtonDown)
{
    LoggingView view;
    QMouseEvent event = mouse(QEvent::MouseMove, {20, 30}, Qt::NoButton);

    EXPECT_TRUE(QApplication::sendEvent(&view, &event));

    EXPECT_EQ(view.news(), Log{"pen -1:0 20,30 20,30"});
}

TEST(MouseEvent, IsRoutedLikeAPen)
{
    Log log;
    ItemView view(0);
    view.add_item(std::make_shared<LoggingItem>("A", log, QPointF(10, 20), QSizeF(50, 50)));
    log_unclaimed(view, log);

    for (const auto &[pos, buttons] :
         {std::pair(QPointF(20, 30), Qt::LeftButton), {{300, 200}, Qt::LeftButton}}) {
        QMouseEvent event = mouse(QEvent::MouseMove, pos, buttons);
        QApplication::sendEvent(&view, &event);
    }

    EXPECT_EQ(log, (Log{"A pen -1:1 10,10 20,30", "A pen -1:1 290,180 300,200"}));
}

TEST(OtherEvents, AreLeftToQt)
{
    LoggingView view;
    for (const QEvent::Type type : {QEvent::Enter, QEvent::Leave, QEvent::TouchCancel, QEvent::User}) {
        QEvent event(type);
        view.event(&event);
    }
    QEvent change(QEvent::LanguageChange);

    EXPECT_EQ(view.news(), Log());
    EXPECT_TRUE(view.event(&change));
    EXPECT_EQ(view.news(), Log{"change"});
}

TouchPoint point(int id, Qt::TouchPointStates state, QPointF pos)
{
    TouchPoint made(id);
    made.setState(state);
    made.setPos(pos);
    return made;
}

class TouchEvents : public testing::Test
{
protected:
    // The tethers outlive the views, so no finger may be left down.
    void TearDown() override
    {
        for (const int id : {1, 2, 4})
            send({point(id, Qt::TouchPointReleased, {})});
    }

    /// Sends the points and returns the records that the view made of them.
    Log send(const QList<TouchPoint> &points, QEvent::Type type = QEvent::TouchUpdate)
    {
        return send_to(m_view, points, type);
    }

    static Log send_to(LoggingView &view, const QList<TouchPoint> &points,
                       QEvent::Type type = QEvent::TouchUpdate)
    {
        QTouchEvent event(type, nullptr, Qt::NoModifier, {}, points);
        EXPECT_TRUE(view.event(&event));
        return view.news();
    }

    LoggingView m_view;
};

TEST_F(TouchEvents, BecomeOneListOfRecords)
{
    for (const QEvent::Type type : {QEvent::TouchBegin, QEvent::TouchUpdate, QEvent::TouchEnd}) {
        SCOPED_TRACE(type);
        EXPECT_EQ(
            send({point(4, Qt::TouchPointPressed, {20.5, 30.25}), point(2, Qt::TouchPointReleased, {7, 8})},
                 type),
            Log{"touch 4:1 20.5,30.25 20.5,30.25; 2:0 7,8 7,8"});
    }
}

TEST_F(TouchEvents, WithoutPointsAreAnEmptyList)
{
    EXPECT_EQ(send({}), Log{"touch "});
}

TEST_F(TouchEvents, AreDownUnlessReleased)
{
    struct
    {
        Qt::TouchPointStates state;
        const char *record;
    } const rows[] = {
        {Qt::TouchPointPressed, "touch 1:1 5,5 5,5"},
        {Qt::TouchPointMoved, "touch 1:1 5,5 5,5"},
        {Qt::TouchPointStationary, "touch 1:1 5,5 5,5"},
        {Qt::TouchPointReleased, "touch 1:0 5,5 5,5"},
        {Qt::TouchPointMoved | Qt::TouchPointReleased, "touch 1:0 5,5 5,5"},
    };

    for (const auto &row : rows)
        EXPECT_EQ(send({point(1, row.state, {5, 5})}), Log{row.record});
}

TEST_F(TouchEvents, TrailTheFingerOnATetherOfThreePixels)
{
    struct
    {
        const char *name;
        QPointF finger;
        const char *record;
    } const rows[] = {
        {"where it comes down", {100, 100}, "touch 1:1 100,100 100,100"},
        {"jitters by two pixels", {102, 100}, "touch 1:1 100,100 100,100"},
        {"moves three pixels", {100, 103}, "touch 1:1 100,100 100,100"},
        {"moves five pixels", {105, 100}, "touch 1:1 102,100 102,100"},
        {"is two from the hoop again", {104, 100}, "touch 1:1 102,100 102,100"},
        {"moves aslant, ten pixels off", {108, 108}, "touch 1:1 106.2,105.6 106.2,105.6"},
        {"moves back", {106.2, 99.6}, "touch 1:1 106.2,102.6 106.2,102.6"},
    };

    for (const auto &row : rows)
        EXPECT_EQ(send({point(1, Qt::TouchPointMoved, row.finger)}), Log{row.record}) << row.name;
}

TEST_F(TouchEvents, TrailUpToTheReleaseAndStartAfreshAfterIt)
{
    send({point(1, Qt::TouchPointPressed, {100, 100})});

    EXPECT_EQ(send({point(1, Qt::TouchPointReleased, {105, 100})}), Log{"touch 1:0 102,100 102,100"});
    EXPECT_EQ(send({point(1, Qt::TouchPointPressed, {103, 100})}), Log{"touch 1:1 103,100 103,100"});
}

TEST_F(TouchEvents, HaveATetherForEachPoint)
{
    send({point(1, Qt::TouchPointPressed, {100, 100}), point(2, Qt::TouchPointPressed, {200, 100})});

    EXPECT_EQ(send({point(2, Qt::TouchPointMoved, {205, 100}), point(1, Qt::TouchPointMoved, {100, 101})}),
              Log{"touch 2:1 202,100 202,100; 1:1 100,100 100,100"});
}

TEST_F(TouchEvents, ShareTheirTethersAmongAllViews)
{
    LoggingView other;
    send({point(1, Qt::TouchPointPressed, {100, 100})});

    EXPECT_EQ(send_to(other, {point(1, Qt::TouchPointMoved, {105, 100})}), Log{"touch 1:1 102,100 102,100"});
}

} // namespace
