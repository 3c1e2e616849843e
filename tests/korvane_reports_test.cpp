#include "korvane.h"
#include "support/contact_receiver.h"
#include "support/reports.h"
#include "support/simulated_driver.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>
#include <QWidget>

#include <gtest/gtest.h>

#include <memory>
#include <thread>

// Tests of the path of a report from the driver into the input model.

namespace {

constexpr int x_left = 3276;   // a tenth of the screen
constexpr int x_right = 29490; // nine tenths
constexpr int y_middle = 16384;

ZorvicHardware &manager(const Korvane &korvane)
{
    return *korvane.findChild<ZorvicHardware *>();
}

TEST(ARecordOfAContact, IsAllZerosUntilItIsFilledIn)
{
    const Korvane::Controls record;

    EXPECT_EQ(record.id, 0);
    EXPECT_EQ(record.flags, 0U);
    EXPECT_EQ(record.buttons, 0);
    EXPECT_EQ(record.radius, QPointF());
    EXPECT_EQ(record.pos, QPointF());
    EXPECT_EQ(record.view_pos, QPointF());
}

struct Kind
{
    const char *name;
    QByteArray (*report)(int x);
    std::size_t (*received)(const ContactReceiver &receiver);
    bool shared; ///< whether the place decides between the program and the operating system
};

/// A window over the left half of the screen.
class Target
{
public:
    Target()
    {
        m_widget->setGeometry(0, 0, 400, 800);
        m_widget->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(m_widget.get()));
    }

    QWidget *get() const { return m_widget.get(); }

private:
    std::unique_ptr<QWidget> m_widget = std::make_unique<QWidget>();
};

class ReportOfEveryKind : public testing::TestWithParam<Kind>
{
protected:
    SimulatedDriver driver;
};

TEST_P(ReportOfEveryKind, IsReceivedOnce)
{
    Korvane korvane(nullptr, nullptr);
    ContactReceiver receiver(korvane);
    receiver.answer = take;

    reports::deliver(manager(korvane), GetParam().report(x_left));

    EXPECT_EQ(GetParam().received(receiver), 1U);
    EXPECT_EQ(receiver.pens.size() + receiver.touches.size() + receiver.erasers.size(), 1U);
}

TEST_P(ReportOfEveryKind, FromTheDriversThreadIsReceivedOnTheGuiThread)
{
    Korvane korvane(nullptr, nullptr);
    ContactReceiver receiver(korvane);
    QThread *receiving_thread = nullptr;
    receiver.answer = [&receiving_thread](Korvane::Controls &) {
        receiving_thread = QThread::currentThread();
    };

    std::thread([&korvane] { reports::deliver(manager(korvane), GetParam().report(x_left)); }).join();
    EXPECT_EQ(GetParam().received(receiver), 0U);
    QCoreApplication::processEvents();

    EXPECT_EQ(GetParam().received(receiver), 1U);
    EXPECT_EQ(receiving_thread, QCoreApplication::instance()->thread());
}

TEST_P(ReportOfEveryKind, WithoutATargetIsReceivedFromEverywhere)
{
    Korvane korvane(nullptr, nullptr);
    const ContactReceiver receiver(korvane);

    reports::deliver(manager(korvane), GetParam().report(x_right));

    EXPECT_EQ(GetParam().received(receiver), 1U);
}

TEST_P(ReportOfEveryKind, IsReceivedFromOverTheTarget)
{
    const Target target;
    Korvane korvane(target.get(), nullptr);
    const ContactReceiver receiver(korvane);

    reports::deliver(manager(korvane), GetParam().report(x_left));

    EXPECT_EQ(GetParam().received(receiver), 1U);
}

TEST_P(ReportOfEveryKind, GoesBackUnseenFromBesideTheTargetButForErasers)
{
    const Target target;
    Korvane korvane(target.get(), nullptr);
    const ContactReceiver receiver(korvane);

    reports::deliver(manager(korvane), GetParam().report(x_right));

    EXPECT_EQ(GetParam().received(receiver), GetParam().shared ? 0U : 1U);
    EXPECT_EQ(handed_back(driver).size(), GetParam().shared ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(
    InputModel, ReportOfEveryKind,
    testing::Values(Kind{"Pen",
                         [](int x) {
                             return reports::pen({0, x, y_middle, true, false, false});
                         },
                         [](const ContactReceiver &receiver) { return receiver.pens.size(); }, true},
                    Kind{"Touch",
                         [](int x) {
                             return reports::touch({{0, x, y_middle, 9, true}});
                         },
                         [](const ContactReceiver &receiver) { return receiver.touches.size(); }, true},
                    Kind{"Eraser",
                         [](int x) {
                             return reports::erase({{0, x, y_middle, 9, 9, true}});
                         },
                         [](const ContactReceiver &receiver) { return receiver.erasers.size(); }, false}),
    [](const auto &row) { return row.param.name; });

} // namespace
