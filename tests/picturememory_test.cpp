#include "picturememory.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

// A row takes 4 bytes for each pixel, and 16.
constexpr QSize all_of_it(4996, 10'000); // exactly what all pictures together may take
constexpr QSize one_row_more(4996, 10'001);
constexpr QSize half_of_it(4996, 5'000);
constexpr QSize smallest(1, 1);

bool is_left_for(const QSize &picture)
{
    return PictureMemory(picture).is_held();
}

TEST(PictureMemory, IsHeldUpToTheLimit)
{
    EXPECT_TRUE(is_left_for(all_of_it));
    EXPECT_FALSE(is_left_for(one_row_more));
    EXPECT_TRUE(is_left_for(all_of_it)) << "what was refused takes nothing";
}

TEST(PictureMemory, OfAllPicturesIsCountedTogether)
{
    const PictureMemory half(half_of_it);
    ASSERT_TRUE(half.is_held());
    {
        const PictureMemory other_half(half_of_it);
        EXPECT_TRUE(other_half.is_held());
        EXPECT_FALSE(is_left_for(smallest));
    }
    EXPECT_TRUE(is_left_for(half_of_it)) << "it is given back";
}

TEST(PictureMemory, IsNotHeldWithoutAPicture)
{
    const PictureMemory nothing;

    EXPECT_FALSE(nothing.is_held());
}

TEST(PictureMemory, HasOneOwner)
{
    PictureMemory first(all_of_it);
    {
        const PictureMemory second = std::move(first);
        EXPECT_TRUE(second.is_held());
        EXPECT_FALSE(first.is_held()); // NOLINT(bugprone-use-after-move): it holds nothing
        EXPECT_FALSE(is_left_for(smallest));
    }
    EXPECT_TRUE(is_left_for(all_of_it));
}

TEST(PictureMemory, IsGivenBackIfAnotherTakesItsPlace)
{
    PictureMemory memory(all_of_it);

    memory = PictureMemory();

    EXPECT_FALSE(memory.is_held());
    EXPECT_TRUE(is_left_for(all_of_it));
}

} // namespace
