#include "e2e/program.h"
#include "strokesview.h"
#include "support/pictures.h"

#include <gtest/gtest.h>

namespace {

/// A view in this process, of the size of the program's, to compare pictures with.
class Expected
{
public:
    explicit Expected(QSize size)
    {
        m_view.resize(size);
        m_view.show();
    }
    QImage picture() { return picture_of(m_view); }
    StrokesView &view() { return m_view; }

private:
    StrokesView m_view;
};

bool shows(Program &program, const QImage &picture)
{
    return eventually([&] { return bool(same_picture(program.desktop().window_picture(), picture)); });
}

QImage white(QSize size)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::white);
    return picture;
}

struct PatternKey
{
    const char *key;
    void (StrokesView::*toggle)();
};

class APatternKey : public testing::TestWithParam<PatternKey>
{
};

TEST_P(APatternKey, ShowsItsPatternAndThenWhiteAgain)
{
    Program program({});
    const QSize size = program.desktop().window_area().size();
    Expected expected(size);
    const QImage help = expected.picture();
    ASSERT_TRUE(shows(program, help)) << "the help screen at start";

    (expected.view().*GetParam().toggle)();
    program.desktop().press(GetParam().key);
    const QImage pattern = expected.picture();
    EXPECT_FALSE(same_picture(pattern, help));
    EXPECT_TRUE(shows(program, pattern));

    program.desktop().press(GetParam().key);
    EXPECT_TRUE(shows(program, white(size)));
}

INSTANTIATE_TEST_SUITE_P(, APatternKey,
                         testing::Values(PatternKey{"g", &StrokesView::toggle_grid},
                                         PatternKey{"c", &StrokesView::toggle_colors},
                                         PatternKey{"s", &StrokesView::toggle_shapes},
                                         PatternKey{"b", &StrokesView::toggle_black},
                                         PatternKey{"Left", &StrokesView::toggle_vcalib},
                                         PatternKey{"Right", &StrokesView::toggle_hcalib}),
                         [](const auto &row) { return row.param.key; });

TEST(TheHelpKey, HidesTheHelpScreenAndShowsItAgain)
{
    Program program({});
    const QSize size = program.desktop().window_area().size();
    Expected expected(size);
    const QImage help = expected.picture();

    program.desktop().press("h");
    EXPECT_TRUE(shows(program, white(size)));

    program.desktop().press("h");
    EXPECT_TRUE(shows(program, help));
}

TEST(TheEnterKey, LeavesTheMaximizedWindowAndReturnsToIt)
{
    Program program({});
    const QRect maximized = program.desktop().window_area();
    ASSERT_EQ(maximized.width(), Desktop::width);

    program.desktop().press("Return");
    EXPECT_TRUE(eventually([&] { return program.desktop().window_area().width() < maximized.width(); }));
    const QSize two_thirds(Desktop::width * 2 / 3, Desktop::height * 2 / 3);
    EXPECT_EQ(program.desktop().window_area().size(), QSize(960, 540).boundedTo(two_thirds));
    EXPECT_EQ(StrokesView().sizeHint(), QSize(960, 540));

    program.desktop().press("Return");
    EXPECT_TRUE(eventually([&] { return program.desktop().window_area() == maximized; }));
}

TEST(AKeyWithoutAMeaning, ChangesNothing)
{
    Program program({});
    const QImage help = Expected(program.desktop().window_area().size()).picture();
    ASSERT_TRUE(shows(program, help));

    for (const char *key : {"KP_Enter", "x", "Tab", "F1"})
        program.desktop().press(key);
    program.desktop().press("g");
    program.desktop().press("g");
    program.desktop().press("h");

    EXPECT_TRUE(shows(program, help));
}

} // namespace
