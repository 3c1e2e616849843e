// Tests that info tags are written in the application's font, whatever it is.

#include "item.h"

#include "support/heap.h"
#include "support/items.h"
#include "support/pictures.h"
#include "support/tags.h"

#include <QApplication>
#include <QFontInfo>

#include <gtest/gtest.h>

#include <memory>

namespace {

/// @p font with @p more pixels between characters.
QFont spaced(QFont font, double more)
{
    font.setLetterSpacing(QFont::AbsoluteSpacing, more);
    return font;
}

/// A view for tags, and the application's font.
class TagFonts : public testing::Test
{
protected:
    ~TagFonts() override { QApplication::setFont(m_former); }

    static void use(const QFont &font)
    {
        ASSERT_EQ(QFontInfo(font).family(), font.family()) << "not installed";
        QApplication::setFont(font);
    }

    std::shared_ptr<EventItem> make_tag()
    {
        auto tag = std::make_shared<Touch>(QPointF(), QColor(255, 0, 0, 32));
        m_view.add_item(tag);
        return tag;
    }

    /// The tag's next record, at whole pixels, and its tick.
    static void show(EventItem &tag, int id, QPointF pos, QPointF radius, int buttons = 1)
    {
        tag.refresh(contact(id, buttons, pos, radius));
        render(tag);
    }

    /// What show() has to show in the application's font.
    static QImage expected(int id, QPointF pos, QPointF radius, int buttons = 1)
    {
        const auto number = [](double value) { return QString::number(value); };
        return drawn({pos,
                      radius,
                      {"FID: " + QString::number(id), "X: " + number(pos.x()), "Y: " + number(pos.y()),
                       "X Radius: " + number(radius.x()), "Y Radius: " + number(radius.y()),
                       "Buttons: " + QString::number(buttons + 256, 2).right(8)}});
    }

    ItemView m_view{0};

private:
    const QFont m_former = QApplication::font();
};

TEST_F(TagFonts, AreTheApplicationsForEachNewTag)
{
    make_tag();
    for (const char *const family : {"DejaVu Serif", "DejaVu Sans Mono", "DejaVu Serif", "DejaVu Sans"}) {
        SCOPED_TRACE(family);
        use(QFont(family));

        const auto tag = make_tag();
        show(*tag, 256, {100, 150}, {30, 20});

        EXPECT_TRUE(same_picture(painted(*tag), expected(256, {100, 150}, {30, 20})));
    }
}

TEST_F(TagFonts, StayTheTagsThatAreShown)
{
    use(QFont("DejaVu Serif"));
    const auto tag = make_tag();
    const QImage serif = expected(256, {100, 150}, {30, 20});

    use(QFont("DejaVu Sans"));
    make_tag();
    show(*tag, 256, {100, 150}, {30, 20});

    EXPECT_TRUE(same_picture(painted(*tag), serif));
    EXPECT_FALSE(same_picture(serif, expected(256, {100, 150}, {30, 20})));
}

struct Row
{
    const char *name;
    QFont font;
    /// Levels of 255. The control points of outlines lie at thirds of a 64th of a pixel, which doubles hold
    /// with an error that grows with the distance from the image's edge. Where Qt rounds a curve to 64ths,
    /// that error may decide.
    int tolerance = 0;
};

void PrintTo(const Row &row, std::ostream *stream)
{
    *stream << row.name;
}

class TagFont : public TagFonts, public testing::WithParamInterface<Row>
{
};

TEST_P(TagFont, IsFilledAsOneOutlineForEachLine)
{
    use(GetParam().font);
    const auto tag = make_tag();
    struct
    {
        int id;
        QPointF pos;
        QPointF radius;
        int buttons;
    } const records[] = {{256, {100, 150}, {30, 20}, 1},
                         {-16, {101.5, 150.25}, {12.5, 7.25}, 3},
                         {747, {74.71, 171.17}, {11.125, 40}, 7},
                         {511, {1e-5, -30.4375}, {25, 25}, 255},
                         {639, {177.4, 0.00074}, {20.7, 33.3}, 0}};

    for (const auto &record : records) {
        show(*tag, record.id, record.pos, record.radius, record.buttons);

        EXPECT_TRUE(same_picture(painted(*tag),
                                 expected(record.id, record.pos, record.radius, record.buttons),
                                 GetParam().tolerance))
            << record.id;
    }
}

INSTANTIATE_TEST_SUITE_P(, TagFont,
                         testing::Values(Row{"Upright", QFont("DejaVu Sans")},
                                         Row{"Slanted", QFont("DejaVu Sans", -1, QFont::Normal, true)},
                                         Row{"BoldAndItalic", QFont("DejaVu Serif", -1, QFont::Bold, true)},
                                         Row{"Monospaced", QFont("DejaVu Sans Mono")},
                                         Row{"Spaced", spaced(QFont("DejaVu Sans"), 2)},
                                         Row{"ThatOverlaps", spaced(QFont("DejaVu Sans"), -3)},
                                         Row{"SlantedThatOverlaps",
                                             spaced(QFont("DejaVu Sans", -1, QFont::Normal, true), -1.5), 1},
                                         Row{"ThatTouches",
                                             spaced(QFont("DejaVu Serif", -1, QFont::Bold, true), -1)}),
                         row_name<Row>);

TEST_F(TagFonts, AreForgottenWithTheirTags)
{
    std::size_t before = 0;
    for (int i = 0; i < 120; ++i) {
        if (i == 20) // Qt has loaded by then what it keeps
            before = heap_in_use();
        use(spaced(QFont("DejaVu Sans"), i / 64.0));
        const auto tag = make_tag();
        show(*tag, 256, {100.0 + i, 150}, {30, 20});
        m_view.sub_item(tag.get());
        m_view.get_dirty_region();
    }

    EXPECT_LT(heap_in_use(), before + (2U << 20));
}

} // namespace
