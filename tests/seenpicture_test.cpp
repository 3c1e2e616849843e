#include "seenpicture.h"
#include "support/heap.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cstdlib>

#include <sys/resource.h>

namespace {

class SeenPictures : public testing::Test
{
protected:
    ~SeenPictures() override { release_seen(); }

    /// Shows a part of a picture of this size, and returns whether it has been drawn.
    bool shows(const QSize &size)
    {
        bool drawn = false;
        QPainter painter(&m_screen);
        show_seen(painter, {{0, 0}, size}, QRect(8, 8, 16, 16), [&drawn](QPainter &) { drawn = true; });
        return drawn;
    }

private:
    QImage m_screen{64, 64, QImage::Format_RGB32};
};

TEST_F(SeenPictures, AreDrawnOnlyWhereTheyAreSeen)
{
    QImage screen(64, 64, QImage::Format_RGB32);
    QPainter painter(&screen);
    int times = 0;
    const auto draw = [&times](QPainter &) { ++times; };

    show_seen(painter, {0, 0, 32, 32}, QRect(40, 40, 8, 8), draw);
    EXPECT_EQ(times, 0);

    show_seen(painter, {0, 0, 32, 32}, QRect(30, 30, 8, 8), draw);
    EXPECT_EQ(times, 1);
}

TEST_F(SeenPictures, AreNotDrawnIfTheyAreLargerThanAnyMemory)
{
    EXPECT_FALSE(shows({600'000, 600'000}));
}

TEST_F(SeenPictures, AreNotDrawnWithoutMemory)
{
    const auto show_without_memory = [this] {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_AS, &none);
        std::_Exit(shows({10'000, 10'000}) ? 1 : 0);
    };

    EXPECT_EXIT(show_without_memory(), testing::ExitedWithCode(0), "");
}

TEST_F(SeenPictures, GiveTheMemoryOfSmallerOnesBackAndInTheEndAll)
{
    constexpr long long any_picture = 4'000; // pages, and more than Qt takes to paint for the first time
    const long long before = address_space();

    ASSERT_TRUE(shows({100, 100}));
    ASSERT_TRUE(shows({10'000, 10'000}));
    EXPECT_GT(address_space() - before, any_picture);
    release_seen();

    EXPECT_LT(address_space() - before, any_picture);
}

} // namespace
