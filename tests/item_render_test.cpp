#include "item.h"

#include "support/items.h"
#include "support/pictures.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr QRgb ground = 0xffe0c040;
constexpr QPoint origin(200, 150); // the view's origin in pictures, which also show what is outside the view

QImage empty_canvas()
{
    QImage canvas(500, 400, QImage::Format_RGB32);
    canvas.fill(ground);
    return canvas;
}

QImage painted(const Item &item)
{
    QImage canvas = empty_canvas();
    QPainter painter(&canvas);
    painter.translate(origin);
    item.paint(painter);
    return canvas;
}

void draw_flag(QPainter &painter)
{
    painter.setPen(QPen(QColor(0, 0, 200), 3));
    painter.setBrush(QColor(200, 0, 0, 100));
    painter.drawPolygon(QVector<QPointF>{{2, 2}, {38, 10}, {10, 28}});
    painter.drawLine(QPointF(0, 30), QPointF(40, 0.5));
}

void draw_red(QPainter &painter)
{
    painter.fillRect(QRectF(-500, -500, 1000, 1000), Qt::red);
}

/// The expected picture: drawn with antialiasing at the item's place and clipped to @p cache, which lies on
/// whole pixels of the view.
QImage drawn(const DrawnItem::Drawing &drawing, QPointF position, double rotation, double scale,
             const QRect &cache)
{
    QImage canvas = empty_canvas();
    QImage layer(canvas.size(), QImage::Format_ARGB32_Premultiplied);
    layer.fill(0);
    {
        QPainter painter(&layer);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setClipRect(cache.translated(origin));
        painter.translate(position + origin);
        painter.rotate(rotation);
        painter.scale(scale, scale);
        drawing(painter);
    }
    QPainter(&canvas).drawImage(0, 0, layer);
    return canvas;
}

struct BufferRow
{
    const char *name;
    QRectF outline;
    float rotation;
    float scale;
    QRectF image_rectangle;
    QSize cache;
    QPointF offset;
};

class ItemCache : public testing::TestWithParam<BufferRow>
{
};

TEST_P(ItemCache, FitsTheOutlineWithAnUnevenMargin)
{
    const BufferRow &row = GetParam();
    ItemView view(0);
    const auto item =
        std::make_shared<DrawnItem>(QPointF(33.3, 44.4), row.outline, draw_red, row.rotation, row.scale);
    view.add_item(item);

    render(*item);

    EXPECT_EQ(item->m_image_rectangle, row.image_rectangle);
    EXPECT_EQ(item->m_cache_offset, row.offset);
    ASSERT_NE(item->m_image_cache, nullptr);
    EXPECT_EQ(item->m_image_cache->size(), row.cache);
    EXPECT_EQ(item->m_image_cache->format(), QImage::Format_ARGB32_Premultiplied);
}

INSTANTIATE_TEST_SUITE_P(
    Item, ItemCache,
    testing::Values(
        BufferRow{"WholePixels", {0, 0, 30, 20}, 0, 1, {-1, -1, 34, 24}, {34, 24}, {-1, -1}},
        BufferRow{"AwayFromTheOrigin", {-50, 7, 30, 20}, 0, 1, {-51, 6, 34, 24}, {34, 24}, {-51, 6}},
        BufferRow{
            "Fractions", {-10.5, 5.25, 20.75, 10.5}, 0, 1, {-11.5, 4.25, 24.75, 14.5}, {24, 14}, {-12, 4}},
        BufferRow{"Turned", {0, 0, 10, 20}, 90, 1, {-21, -1, 24, 14}, {24, 14}, {-21, -1}},
        BufferRow{"Scaled", {-2, 3, 10, 20}, 0, 2.5F, {-6, 6.5, 29, 54}, {29, 54}, {-6, 6}},
        BufferRow{"TurnedAndScaled", {0, 5, 10, 20}, 90, 2, {-51, -1, 44, 24}, {44, 24}, {-51, -1}},
        BufferRow{"WithoutAnOutline", {}, 0, 1, {-1, -1, 4, 4}, {4, 4}, {-1, -1}}),
    row_name<BufferRow>);

class ItemRendering : public testing::Test
{
protected:
    ItemRendering() { m_view.add_item(m_item); }

    void render_with(int flags)
    {
        m_item->m_update_flags = flags;
        render(*m_item);
    }

    ItemView m_view{0};
    std::shared_ptr<DrawnItem> m_item =
        std::make_shared<DrawnItem>(QPointF(10, 20), QRectF(0, 0, 60, 40), draw_red);
};

TEST_F(ItemRendering, KeepsACacheThatIsLargeEnough)
{
    render(*m_item);

    for (const QRectF &outline : {QRectF(0, 0, 60, 40), QRectF(5, 5, 30, 40), QRectF(5, 5, 60, 20)}) {
        m_item->set_outline(path_of(outline));
        render_with(Item::resize_cache);

        EXPECT_EQ(m_item->m_image_cache->size(), QSize(64, 44));
        EXPECT_EQ(m_item->m_image_cache->pixel(9, 9), 0xffff0000) << "the old picture is gone";
        EXPECT_EQ(m_item->m_image_rectangle.size(), outline.size() + QSizeF(4, 4));
    }
    EXPECT_EQ(m_item->m_cache_offset, QPointF(4, 4));
}

TEST_F(ItemRendering, ReplacesACacheThatIsTooNarrowOrTooLow)
{
    render(*m_item);
    struct
    {
        QRectF outline;
        QSize cache;
    } const rows[] = {{{0, 0, 61, 10}, {65, 14}}, {{0, 0, 20, 11}, {24, 15}}, {{0, 0, 20.5, 9}, {24, 13}}};

    for (const auto &row : rows) {
        SCOPED_TRACE(row.outline.width());
        m_item->set_outline(path_of(row.outline));
        render_with(Item::resize_cache);

        EXPECT_EQ(m_item->m_image_cache->size(), row.cache);
    }
}

TEST_F(ItemRendering, StartsWithATransparentCache)
{
    // Fills and frees a block of memory that the cache is likely to reuse.
    QImage(64, 44, QImage::Format_ARGB32_Premultiplied).fill(0xff0000ff);

    render_with(Item::rebuild_geometry | Item::resize_cache);

    EXPECT_TRUE(same_picture(painted(*m_item), empty_canvas()));
}

TEST_F(ItemRendering, SizesTheCacheForTheRotationAndScaleOfTheRender)
{
    render(*m_item);
    m_item->m_rotation = 90;
    m_item->m_scale = 3;

    m_item->rebuffer();

    EXPECT_EQ(m_item->m_image_rectangle, QRectF(-1, -1, 64, 44));
}

TEST(ItemCacheBeforeAnyRender, FitsTheOutlineUnscaled)
{
    DrawnItem item({10, 20}, {0, 0, 60, 40});

    item.rebuffer();

    EXPECT_EQ(item.m_image_rectangle, QRectF(-1, -1, 64, 44));
    ASSERT_NE(item.m_image_cache, nullptr);
    EXPECT_EQ(item.m_image_cache->size(), QSize(64, 44));
}

struct PictureRow
{
    const char *name;
    QPointF position;
    float rotation;
    float scale;
    QRect cache; ///< in view coordinates
};

class ItemPicture : public testing::TestWithParam<PictureRow>
{
};

TEST_P(ItemPicture, ShowsWhereTheItemIsToAFractionOfAPixel)
{
    const PictureRow &row = GetParam();
    ItemView view(0);
    const auto item =
        std::make_shared<DrawnItem>(row.position, QRectF(0, 0, 40, 30), draw_flag, row.rotation, row.scale);
    view.add_item(item);

    render(*item);

    const QImage expected =
        drawn(draw_flag, row.position, double(row.rotation), double(row.scale), row.cache);
    EXPECT_FALSE(same_picture(expected, empty_canvas()));
    EXPECT_TRUE(same_picture(painted(*item), expected));
}

INSTANTIATE_TEST_SUITE_P(
    Item, ItemPicture,
    testing::Values(PictureRow{"OnAPixel", {10, 20}, 0, 1, {9, 19, 44, 34}},
                    PictureRow{"BetweenPixels", {10.25, 20.625}, 0, 1, {9, 19, 44, 34}},
                    PictureRow{"LeftOfAndAboveTheView", {-100.25, -80.75}, 0, 1, {-102, -82, 44, 34}},
                    PictureRow{"JustOutside", {-0.5, -0.5}, 0, 1, {-2, -2, 44, 34}},
                    PictureRow{"Turned", {50.5, 20.25}, 90, 1, {19, 19, 34, 44}},
                    PictureRow{"UpsideDown", {50.5, 40}, 180, 1, {9, 9, 44, 34}},
                    PictureRow{"Scaled", {10.75, 20.5}, 0, 2.5F, {9, 19, 104, 79}},
                    PictureRow{"TurnedAndScaled", {-20.5, 20.25}, 90, 2, {-82, 19, 64, 84}}),
    row_name<PictureRow>);

TEST_F(ItemRendering, LeavesNothingOfTheLastPicture)
{
    m_item->m_drawing = [](QPainter &painter) { painter.fillRect(5, 5, 10, 10, Qt::red); };
    render(*m_item);
    const DrawnItem::Drawing second = [](QPainter &painter) { painter.fillRect(30, 20, 10, 10, Qt::blue); };
    m_item->m_drawing = second;

    render_with(Item::redraw_picture);

    EXPECT_TRUE(same_picture(painted(*m_item), drawn(second, {10, 20}, 0, 1, {9, 19, 64, 44})));
}

TEST_F(ItemRendering, TurnsAndScalesAboutTheItemsOrigin)
{
    // A picture of the whole would need sines, so one dot off the origin is checked.
    m_item->m_rotation = 30;
    m_item->m_scale = 2;
    m_item->m_drawing = [](QPainter &painter) { painter.fillRect(QRectF(18, -2, 4, 4), Qt::blue); };

    render_with(15);

    const QImage picture = painted(*m_item);
    EXPECT_EQ(picture.pixel(origin + QPoint(10 + 34, 20 + 20)), 0xff0000ff);
    EXPECT_EQ(picture.pixel(origin + QPoint(10 + 17, 20 + 10)), ground);
    EXPECT_EQ(picture.pixel(origin + QPoint(10 + 20, 20 + 34)), ground);
}

TEST_F(ItemRendering, IsPaintedWhereItWasRenderedAndNotWhereItHasMoved)
{
    render(*m_item);
    const QImage before = painted(*m_item);

    m_item->m_position = {100, 100};
    m_item->set_transforms();
    EXPECT_TRUE(same_picture(painted(*m_item), before));
    render_with(15);

    EXPECT_TRUE(same_picture(painted(*m_item), drawn(draw_red, {100, 100}, 0, 1, {99, 99, 64, 44})));
}

TEST_F(ItemRendering, PaintsOnlyAsMuchOfTheCacheAsTheItemNeeds)
{
    render(*m_item);
    m_item->set_outline(path_of({5, 6, 20.5, 10.25}));

    render_with(Item::resize_cache);

    EXPECT_TRUE(same_picture(painted(*m_item), drawn(draw_red, {10, 20}, 0, 1, {14, 25, 24, 14})));
}

TEST(ACache, IsTransparentlyBlendedAndNoneWithoutMemory)
{
    Item item({0, 0}, 0, 1, 0);

    const std::unique_ptr<QImage> cache = item.new_cache({30, 20});
    ASSERT_NE(cache, nullptr);
    EXPECT_EQ(cache->size(), QSize(30, 20));
    EXPECT_EQ(cache->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(item.new_cache({1'000'000, 1'000'000}), nullptr);
}

TEST(AnItemOfNoKind, PaintsNothingWithoutACache)
{
    const Item item({0, 0}, 0, 1, 0);
    QImage canvas = empty_canvas();
    QPainter painter(&canvas);

    item.paint_without_cache(painter);

    EXPECT_TRUE(same_picture(canvas, empty_canvas()));
}

TEST_F(ItemRendering, PaintsNothingWithoutACache)
{
    EXPECT_TRUE(same_picture(painted(*m_item), empty_canvas()));
    render(*m_item);
    EXPECT_FALSE(same_picture(painted(*m_item), empty_canvas()));

    m_item->clear_image_cache();

    EXPECT_EQ(m_item->m_image_cache, nullptr);
    EXPECT_TRUE(same_picture(painted(*m_item), empty_canvas()));
}

TEST_F(ItemRendering, DrawsNothingIntoACacheThatWasCleared)
{
    render(*m_item);
    m_item->clear_image_cache();

    render_with(Item::redraw_picture | Item::refresh_area);

    EXPECT_EQ(m_item->m_image_cache, nullptr);
    EXPECT_EQ(m_item->m_update_flags, 0);
}

TEST_F(ItemRendering, DoesWithoutACacheThatThereIsNoMemoryFor)
{
    render(*m_item);
    m_item->set_outline(path_of({0, 0, 1e9, 1e9}));

    render_with(15);

    EXPECT_EQ(m_item->m_image_cache, nullptr);
    EXPECT_EQ(m_item->m_update_flags, 0);
    EXPECT_TRUE(same_picture(painted(*m_item), empty_canvas()));
}

TEST_F(ItemRendering, HasACacheAgainOnceItFits)
{
    m_item->set_outline(path_of({0, 0, 1e9, 1e9}));
    render(*m_item);
    m_item->set_outline(path_of({0, 0, 60, 40}));

    render_with(15);

    EXPECT_TRUE(same_picture(painted(*m_item), drawn(draw_red, {10, 20}, 0, 1, {9, 19, 64, 44})));
}

struct AreaRow
{
    const char *name;
    QPointF position;
    QRectF outline;
    QRect area;
};

class ItemScreenArea : public testing::TestWithParam<AreaRow>
{
};

TEST_P(ItemScreenArea, IsThePictureWidenedByAPixelAndTruncated)
{
    const AreaRow &row = GetParam();
    ItemView view(0);
    const auto item = std::make_shared<DrawnItem>(row.position, row.outline, draw_red);
    view.add_item(item);

    render(*item);

    EXPECT_EQ(item->m_screen_area, row.area);
    EXPECT_EQ(view.get_dirty_region(), QRegion(row.area));
}

INSTANTIATE_TEST_SUITE_P(
    Item, ItemScreenArea,
    testing::Values(AreaRow{"WholePixels", {10, 20}, {0, 0, 30, 20}, {8, 18, 36, 26}},
                    AreaRow{"Fractions", {10.75, 20.25}, {0, 0, 30, 20}, {8, 18, 36, 26}},
                    AreaRow{"LeftOfAndAboveTheView", {-10.5, -20.25}, {0, 0, 30, 20}, {-12, -22, 36, 26}},
                    AreaRow{"JustOutside", {1.5, 1.25}, {0, 0, 30, 20}, {0, 0, 36, 26}},
                    AreaRow{"FractionsOfTheSize", {10, 20}, {0.5, 0.25, 30.75, 20.5}, {8, 18, 36, 26}}),
    row_name<AreaRow>);

TEST_F(ItemRendering, TellsWhereTheItemWasAndWhereItIs)
{
    render(*m_item);
    m_view.get_dirty_region();
    m_item->m_position = {200, 100};

    render_with(Item::refresh_area);

    EXPECT_EQ(m_item->m_screen_area, QRect(198, 98, 66, 46));
    EXPECT_EQ(m_view.get_dirty_region(), QRegion(8, 18, 66, 46) + QRegion(198, 98, 66, 46));
}

TEST_F(ItemRendering, KeepsTheAreaUntilItIsToBeTold)
{
    render(*m_item);
    m_view.get_dirty_region();
    m_item->m_position = {200, 100};

    render_with(Item::update_all - Item::refresh_area);

    EXPECT_EQ(m_item->m_screen_area, QRect(8, 18, 66, 46));
    EXPECT_TRUE(m_view.get_dirty_region().isEmpty());
}

} // namespace
