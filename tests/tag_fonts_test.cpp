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

struct Row
{
    const char *name;
    const char *family;
    QFont::Weight weight;
    bool slanted;
};

/// A view for tags, and the application's font.
class TagFonts : public testing::Test
{
protected:
    ~TagFonts() override { QApplication::setFont(m_former); }

    static void use(const char *family, QFont::Weight weight = QFont::Normal, bool slanted = false)
    {
        QFont font(family, -1, weight, slanted);
        ASSERT_EQ(QFontInfo(font).family().toStdString(), family) << "not installed";
        QApplication::setFont(font);
    }

    std::shared_ptr<EventItem> make_tag()
    {
        auto tag = std::make_shared<Touch>(QPointF(), QColor(255, 0, 0, 32));
        m_view.add_item(tag);
        return tag;
    }

    /// The tag's next record, at whole pixels, and its tick.
    static void show(EventItem &tag, int id, QPoint pos, QPointF radius, int buttons = 1)
    {
        tag.refresh(contact(id, buttons, pos, radius));
        render(tag);
    }

    /// What show() has to show in the application's font.
    static QImage expected(int id, QPoint pos, QPointF radius, int buttons = 1)
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
        use(family);

        const auto tag = make_tag();
        show(*tag, 256, {100, 150}, {30, 20});

        EXPECT_TRUE(same_picture(painted(*tag), expected(256, {100, 150}, {30, 20})));
    }
}

TEST_F(TagFonts, StayTheTagsThatAreShown)
{
    use("DejaVu Serif");
    const auto tag = make_tag();
    const QImage serif = expected(256, {100, 150}, {30, 20});

    use("DejaVu Sans");
    make_tag();
    show(*tag, 256, {100, 150}, {30, 20});

    EXPECT_TRUE(same_picture(painted(*tag), serif));
    EXPECT_FALSE(same_picture(serif, expected(256, {100, 150}, {30, 20})));
}

TEST_F(TagFonts, AreForgottenWithTheirTags)
{
    std::size_t before = 0;
    for (int i = 0; i < 120; ++i) {
        if (i == 20) // Qt has loaded by then what it keeps
            before = heap_in_use();
        QFont font("DejaVu Sans");
        font.setLetterSpacing(QFont::AbsoluteSpacing, i / 64.0);
        QApplication::setFont(font);
        const auto tag = make_tag();
        show(*tag, 256, {100 + i, 150}, {30, 20});
        m_view.sub_item(tag.get());
        m_view.get_dirty_region();
    }

    EXPECT_LT(heap_in_use(), before + (2U << 20));
}

} // namespace
