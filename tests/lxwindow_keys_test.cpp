#include "lxwindow.h"
#include "strokesview.h"
#include "support/pictures.h"
#include "support/simulated_driver.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

#include <tuple>

namespace {

class Keys : public testing::Test
{
protected:
    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(&dialog, &event);
    }

    int strokes() const
    {
        int count = 0;
        int ignored = 0;
        view->statistics(count, ignored, ignored, ignored, ignored);
        return count;
    }

    /// Draws one finished stroke.
    void draw()
    {
        Korvane::Controls record;
        record.buttons = 1;
        record.pos = {30, 700};
        view->in_pen_event(record);
        record.buttons = 0;
        record.pos = {90, 700};
        view->in_pen_event(record);
    }

    SimulatedDriver driver;
    LanternixDialog dialog{nullptr};
    StrokesView *const view = dialog.findChild<StrokesView *>();
};

// Tests of the keys that switch the pattern.

struct Pattern
{
    const char *name;
    int key;
    void (StrokesView::*toggle)();
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
};

class PatternKey : public Keys, public testing::WithParamInterface<Pattern>
{
};

TEST_P(PatternKey, SwitchesItsPatternThereAndBack)
{
    StrokesView expected;
    expected.resize(view->size());

    for (int times = 1; times <= 2; ++times) {
        SCOPED_TRACE(times);
        press(GetParam().key, GetParam().modifiers);
        (expected.*GetParam().toggle)();
        EXPECT_TRUE(same_picture(picture_of(*view), picture_of(expected)));
    }
}

TEST_P(PatternKey, SwitchesNothingElse)
{
    draw();

    press(GetParam().key, GetParam().modifiers);

    EXPECT_EQ(strokes(), 1);
    EXPECT_TRUE(view->m_show_tags);
    EXPECT_EQ(view->m_stroke_width, 3.0F);
    EXPECT_TRUE(dialog.isMaximized());
    EXPECT_TRUE(dialog.isVisible());
}

INSTANTIATE_TEST_SUITE_P(Dialog, PatternKey,
                         testing::Values(Pattern{"UpperH", 'H', &StrokesView::toggle_help},
                                         Pattern{"LowerH", 'h', &StrokesView::toggle_help},
                                         Pattern{"ShiftH", 'H', &StrokesView::toggle_help, Qt::ShiftModifier},
                                         Pattern{"UpperC", 'C', &StrokesView::toggle_colors},
                                         Pattern{"LowerC", 'c', &StrokesView::toggle_colors},
                                         Pattern{"UpperG", 'G', &StrokesView::toggle_grid},
                                         Pattern{"LowerG", 'g', &StrokesView::toggle_grid},
                                         Pattern{"UpperS", 'S', &StrokesView::toggle_shapes},
                                         Pattern{"LowerS", 's', &StrokesView::toggle_shapes},
                                         Pattern{"UpperB", 'B', &StrokesView::toggle_black},
                                         Pattern{"LowerB", 'b', &StrokesView::toggle_black},
                                         Pattern{"Left", Qt::Key_Left, &StrokesView::toggle_vcalib},
                                         Pattern{"Right", Qt::Key_Right, &StrokesView::toggle_hcalib}),
                         [](const auto &row) { return row.param.name; });

// Tests of the other settings of the view.

class DigitKey : public Keys, public testing::WithParamInterface<int>
{
};

TEST_P(DigitKey, SetsTheStrokeWidth)
{
    view->m_stroke_width = 77;

    press(Qt::Key_0 + GetParam());

    EXPECT_EQ(view->m_stroke_width, static_cast<float>(GetParam()));
}

TEST_P(DigitKey, OnTheKeypadSetsTheStrokeWidthToo)
{
    view->m_stroke_width = 77;

    press(Qt::Key_0 + GetParam(), Qt::KeypadModifier);

    EXPECT_EQ(view->m_stroke_width, static_cast<float>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Dialog, DigitKey, testing::Range(0, 10), testing::PrintToStringParamName());

TEST_F(Keys, SpaceSwitchesInfoTagsOffAndOn)
{
    press(Qt::Key_Space);
    EXPECT_FALSE(view->m_show_tags);

    press(Qt::Key_Space);
    EXPECT_TRUE(view->m_show_tags);
}

TEST_F(Keys, BackspaceClearsTheStrokes)
{
    draw();
    ASSERT_EQ(strokes(), 1);

    press(Qt::Key_Backspace);

    EXPECT_EQ(strokes(), 0);
}

// Tests of the window's keys.

TEST_F(Keys, BackspaceLeavesTheInfoTagsAsTheyAre)
{
    const bool shown = view->m_show_tags;

    press(Qt::Key_Backspace);

    EXPECT_EQ(view->m_show_tags, shown);
}

TEST_F(Keys, ReturnLeavesTheMaximizedStateAndComesBack)
{
    ASSERT_TRUE(dialog.isMaximized());

    press(Qt::Key_Return);
    EXPECT_FALSE(dialog.isMaximized());
    EXPECT_TRUE(dialog.isVisible());

    press(Qt::Key_Return);
    EXPECT_TRUE(dialog.isMaximized());

    press(Qt::Key_Return);
    EXPECT_FALSE(dialog.isMaximized());
}

TEST_F(Keys, ReturnFollowsItsOwnMemoryOfTheState)
{
    dialog.showNormal();

    press(Qt::Key_Return);
    EXPECT_FALSE(dialog.isMaximized());

    press(Qt::Key_Return);
    EXPECT_TRUE(dialog.isMaximized());
}

/// Counts the events of one type that reach an object.
class EventCounter : public QObject
{
public:
    EventCounter(QObject &watched, QEvent::Type type) : m_type(type) { watched.installEventFilter(this); }

    int count = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == m_type ? 1 : 0;
        return false;
    }

private:
    QEvent::Type m_type;
};

TEST_F(Keys, EscapeClosesTheDialogAndEndsItsLoopWithZero)
{
    const EventCounter closings(dialog, QEvent::Close);
    QTimer::singleShot(0, &dialog, [this] { press(Qt::Key_Escape); });
    int result = 99;
    dialog.setResult(1);

    result = dialog.exec();

    EXPECT_EQ(result, 0);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(closings.count, 1);
}

// Tests of keys that do nothing.

struct Key
{
    const char *name;
    int key;
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
};

class IdleKey : public Keys, public testing::WithParamInterface<Key>
{
};

TEST_P(IdleKey, ChangesNothing)
{
    draw();
    QPushButton button(&dialog);
    button.setDefault(true);
    int clicks = 0;
    QObject::connect(&button, &QPushButton::clicked, [&clicks] { ++clicks; });
    button.show();
    const auto state = [this] {
        return std::tuple(strokes(), view->m_show_tags, view->m_stroke_width, dialog.windowState(),
                          dialog.isVisible());
    };
    const auto state_before = state();
    const QImage picture_before = picture_of(*view);

    press(GetParam().key, GetParam().modifiers);

    EXPECT_EQ(clicks, 0);
    EXPECT_TRUE(state() == state_before);
    EXPECT_TRUE(same_picture(picture_of(*view), picture_before));
}

INSTANTIATE_TEST_SUITE_P(
    Dialog, IdleKey,
    testing::Values(Key{"Enter", Qt::Key_Enter}, Key{"KeypadEnter", Qt::Key_Enter, Qt::KeypadModifier},
                    Key{"Up", Qt::Key_Up}, Key{"Down", Qt::Key_Down}, Key{"Tab", Qt::Key_Tab},
                    Key{"Delete", Qt::Key_Delete}, Key{"Insert", Qt::Key_Insert}, Key{"Home", Qt::Key_Home},
                    Key{"FOne", Qt::Key_F1}, Key{"FEleven", Qt::Key_F11}, Key{"UpperA", 'A'},
                    Key{"LowerA", 'a'}, Key{"UpperD", 'D'}, Key{"UpperQ", 'Q'}, Key{"UpperT", 'T'},
                    Key{"UpperZ", 'Z'}, Key{"Plus", Qt::Key_Plus}, Key{"SlashBelowZero", '0' - 1},
                    Key{"ColonAboveNine", '9' + 1}, Key{"LetterBitOfTheDigitZero", '0' & ~0x20},
                    Key{"OpeningBracket", '('}, Key{"Hash", '#'}, Key{"Unknown", Qt::Key_unknown},
                    Key{"Shift", Qt::Key_Shift, Qt::ShiftModifier}),
    [](const auto &row) { return row.param.name; });

TEST_F(Keys, ReturnDoesNotPressADefaultButton)
{
    QPushButton button(&dialog);
    button.setDefault(true);
    int clicks = 0;
    QObject::connect(&button, &QPushButton::clicked, [&clicks] { ++clicks; });
    button.show();

    press(Qt::Key_Return);

    EXPECT_EQ(clicks, 0);
}

} // namespace
