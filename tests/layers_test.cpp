#include "strokesview.h"
#include "support/items.h"
#include "support/messages.h"
#include "support/pictures.h"
#include "support/widgets.h"

#include <gtest/gtest.h>

namespace {

/// A black pattern, a pen's stroke across it and a blue item across both.
class Layers : public testing::Test
{
protected:
    Layers()
    {
        m_view.m_show_tags = false;
        m_view.resize(m_size);
        m_view.grab(); // a hidden widget gets its resize event only when it is painted
        m_view.toggle_black();
        m_view.in_pen_event(contact(-1, 1, {20, 60}, {9, 9}));
        m_view.in_pen_event(contact(-1, 0, {180, 60}, {9, 9}));
        m_view.add_item(
            std::make_shared<DrawnItem>(QPointF(90, 20), QRectF(0, 0, 20, 80), [](QPainter &painter) {
                painter.fillRect(0, 0, 20, 80, QColor(0, 0, 255, 128));
            }));
        render_all(m_view);
    }

    QImage expected() const
    {
        QImage strokes(m_size, QImage::Format_ARGB32_Premultiplied);
        strokes.fill(Qt::transparent);
        {
            QPainter painter(&strokes);
            painter.setRenderHint(QPainter::Antialiasing);
            QPainterPath dot;
            dot.addEllipse(QPointF(20, 60), 9, 9);
            painter.fillPath(dot, Qt::red);
            painter.setPen(QPen(Qt::red, 18, Qt::SolidLine, Qt::RoundCap));
            painter.drawLine(20, 60, 180, 60);
        }
        QImage picture(m_size, QImage::Format_RGB32);
        picture.fill(Qt::black);
        QPainter painter(&picture);
        painter.drawImage(0, 0, strokes);
        painter.fillRect(90, 20, 20, 80, QColor(0, 0, 255, 128));
        return picture;
    }

    const QSize m_size{200, 120};
    StrokesView m_view;
};

TEST_F(Layers, LieInTheirOrder)
{
    EXPECT_TRUE(same_picture(picture_of(m_view), expected(), 1));
}

TEST_F(Layers, ArePaintedOnTheScreenWithoutAComplaint)
{
    PaintWatch watch(m_view);
    m_view.show();
    ASSERT_TRUE(watch.wait());
    EXPECT_TRUE(same_picture(picture_on_screen(m_view), expected(), 1));
    const Messages messages;

    m_view.repaint();
    m_view.repaint(10, 20, 30, 40);
    picture_of(m_view);

    EXPECT_TRUE(same_picture(picture_on_screen(m_view), expected(), 1));
    EXPECT_EQ(messages.all(), std::vector<std::string>());
}

TEST_F(Layers, AreTheItemsAloneBeforeTheFirstSize)
{
    StrokesView view;
    const Deafness deafness(view);
    view.in_pen_event(contact(-1, 1, {100, 60}, {9, 9}));
    view.sub_all();
    view.add_item(std::make_shared<DrawnItem>(QPointF(90, 20), QRectF(0, 0, 20, 80), [](QPainter &painter) {
        painter.fillRect(0, 0, 20, 80, Qt::blue);
    }));
    render_all(view);
    view.resize(m_size);
    const Messages messages;

    QImage items(m_size, QImage::Format_RGB32);
    items.fill(Qt::white);
    QPainter(&items).fillRect(90, 20, 20, 80, Qt::blue);
    EXPECT_TRUE(same_picture(picture_of(view), items));
    EXPECT_EQ(messages.all(), std::vector<std::string>());
}

} // namespace
