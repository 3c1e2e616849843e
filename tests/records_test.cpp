#include "hardware/zorvichardware.h"

#include <gtest/gtest.h>

namespace {

TEST(ARecord, IsAllZerosUntilItIsFilledIn)
{
    const auto is_zero = [](auto... values) { return ((values == 0) && ...); };

    const ZorvicHardware::PenEvent pen;
    EXPECT_TRUE(is_zero(pen.pen, pen.x, pen.y, pen.tip, pen.button, pen.stateBit2));
    const ZorvicHardware::TouchContact touch;
    EXPECT_TRUE(is_zero(touch.id, touch.x, touch.y, touch.extent, touch.down));
    const ZorvicHardware::EraseContact eraser;
    EXPECT_TRUE(is_zero(eraser.id, eraser.x, eraser.y, eraser.width, eraser.height, eraser.down));
    const ZorvicHardware::TouchStatus status;
    EXPECT_TRUE(is_zero(status.byte2, status.byte3, status.byte4, status.byte5, status.byte6, status.byte7));
    const ZorvicHardware::BoardInfo board;
    EXPECT_TRUE(is_zero(board.vid, board.pid, board.xp, board.xt, board.xl, board.board));
}

} // namespace
