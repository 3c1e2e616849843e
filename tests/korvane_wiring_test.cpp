#include "korvane.h"
#include "support/contact_receiver.h"
#include "support/simulated_driver.h"

#include <QCoreApplication>
#include <QLocale>
#include <QMetaMethod>
#include <QPointer>
#include <QWidget>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <iostream>
#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using Texts = std::vector<std::string>;

QStringList one_board()
{
    return {QStringLiteral(R"({"type":"device","kind":1,"board":4,"info":"hid<true>"})")};
}

// The calls for one board, as in the driver's log. The texts are ":PN02", ":PN12", ":PN22" and ":PN32", each
// with a carriage return; 49 and 48 are the characters "1" and "0".

const Texts switched_on = {
    "WritePacket(4, 3a504e30320d, 6)", "SetPointingDeviceDestination(4, 1, 0, 1)",
    "WritePacket(4, 3a504e31320d, 6)", "SetPointingDeviceDestination(4, 2, 0, 1)",
    "WritePacket(4, 3a504e32320d, 6)", "SetPointingDeviceDestination(4, 3, 0, 1)",
    "WritePacket(4, 3a504e33320d, 6)", "SetPointingDeviceDestination(4, 4, 0, 1)",
    "SetTouchDestination(4, 1)",       "SetLATEDetection(4, 49)",
};

const Texts switched_off = {
    "WritePacket(4, 3a504e30320d, 6)", "SetPointingDeviceDestination(4, 1, 0, 0)",
    "WritePacket(4, 3a504e31320d, 6)", "SetPointingDeviceDestination(4, 2, 0, 0)",
    "WritePacket(4, 3a504e32320d, 6)", "SetPointingDeviceDestination(4, 3, 0, 0)",
    "WritePacket(4, 3a504e33320d, 6)", "SetPointingDeviceDestination(4, 4, 0, 0)",
    "SetTouchDestination(4, 0)",       "SetLATEDetection(4, 48)",
};

Texts operator+(Texts texts, const Texts &more)
{
    texts.insert(texts.end(), more.begin(), more.end());
    return texts;
}

Texts names(const SimulatedDriver &driver)
{
    Texts texts;
    for (const DriverCall &call : driver.calls())
        texts.push_back(call.name);
    return texts;
}

std::string output_of(const std::function<void()> &action)
{
    testing::internal::CaptureStdout();
    action();
    std::cout.flush();
    return testing::internal::GetCapturedStdout();
}

class Wiring : public testing::Test
{
protected:
    SimulatedDriver driver{one_board()};
};

// Tests of the construction.

TEST(AReportWhileTheBoardsAreFound, GoesToTheSystemIfItIsNotOverTheTarget)
{
    SimulatedDriver driver = SimulatedDriver::hostile("callbacks-in-registration");
    QWidget target; // is not shown

    const Korvane korvane(&target, nullptr);

    const std::vector<DriverCall> sent = driver.calls("SendTouchPacketToSystem");
    EXPECT_TRUE(std::any_of(sent.begin(), sent.end(), [](const DriverCall &call) {
        return call.thread != gettid();
    })) << "by the thread that brought it, without asking the input model";
}

TEST_F(Wiring, DetachesOnce)
{
    Korvane korvane(nullptr, nullptr);
    korvane.detach();
    driver.clear_calls();

    korvane.detach();

    EXPECT_EQ(driver.call_texts(), Texts());
}

TEST_F(Wiring, ConstructionEnumeratesThenConfiguresTwice)
{
    const Korvane korvane(nullptr, nullptr);

    const Texts enumerating = {"Attach",         "SetPnpCallback", "Attach",     "GetDeviceCount",
                               "EnumDeviceInfo", "SetCallback",    "SetXferMask"};
    const Texts calls = driver.call_texts();
    const auto first_write = calls.begin() + static_cast<std::ptrdiff_t>(enumerating.size());
    const Texts all_names = names(driver);
    ASSERT_GE(all_names.size(), enumerating.size());
    EXPECT_EQ(Texts(all_names.begin(), all_names.begin() + static_cast<std::ptrdiff_t>(enumerating.size())),
              enumerating);
    // Once for the device count that init() reports, and once more after it.
    EXPECT_EQ(Texts(first_write, calls.end()), switched_on + switched_on);
}

TEST_F(Wiring, ConstructionTellsTheNumberOfDevicesOnce)
{
    std::unique_ptr<Korvane> korvane;

    const std::string output =
        output_of([&korvane] { korvane = std::make_unique<Korvane>(nullptr, nullptr); });

    EXPECT_EQ(output, "Enumerated 1 devices.\n");
}

TEST_F(Wiring, ManagerIsTheInputModelsChildAndGoesWithIt)
{
    QObject parent;
    auto *const korvane = new Korvane(nullptr, &parent);
    const QPointer<ZorvicHardware> hardware = korvane->findChild<ZorvicHardware *>();

    EXPECT_EQ(korvane->parent(), &parent);
    ASSERT_TRUE(hardware);
    EXPECT_EQ(hardware->parent(), korvane);

    delete korvane;
    EXPECT_FALSE(hardware);
}

TEST(WiringOfManyBoards, ConfiguresEveryBoardBeforeTheNextSetting)
{
    SimulatedDriver driver;
    Korvane korvane(nullptr, nullptr);
    driver.clear_calls();

    korvane.configureHardware(false);

    const Texts calls = driver.call_texts();
    ASSERT_EQ(calls.size(), 20U);
    EXPECT_EQ(Texts(calls.begin(), calls.begin() + 5),
              (Texts{"WritePacket(7, 3a504e30320d, 6)", "WritePacket(3, 3a504e30320d, 6)",
                     "SetPointingDeviceDestination(7, 1, 0, 1)", "SetPointingDeviceDestination(3, 1, 0, 1)",
                     "WritePacket(7, 3a504e31320d, 6)"}));
    EXPECT_EQ(Texts(calls.end() - 4, calls.end()),
              (Texts{"SetTouchDestination(7, 1)", "SetTouchDestination(3, 1)", "SetLATEDetection(7, 49)",
                     "SetLATEDetection(3, 49)"}));
}

// Tests of the configuration and of device counts.

TEST_F(Wiring, ConfiguringOnSwitchesEverythingOn)
{
    Korvane korvane(nullptr, nullptr);
    korvane.configureHardware(true);
    driver.clear_calls();

    korvane.configureHardware(false);

    EXPECT_EQ(driver.call_texts(), switched_on);
}

TEST_F(Wiring, ConfiguringOffSwitchesAllReportsOffButKeepsThePensHardwareMode)
{
    Korvane korvane(nullptr, nullptr);
    driver.clear_calls();

    korvane.configureHardware(true);

    EXPECT_EQ(driver.call_texts(), switched_off);
}

struct Count
{
    const char *name;
    int count;
    const char *line;
};

class DeviceCount : public Wiring, public testing::WithParamInterface<Count>
{
};

TEST_P(DeviceCount, IsToldInOneLineAndConfiguresAgain)
{
    Korvane korvane(nullptr, nullptr);
    driver.clear_calls();

    const std::string output = output_of([&korvane] { korvane.in_device_enum_count(GetParam().count); });

    EXPECT_EQ(output, GetParam().line);
    EXPECT_EQ(driver.call_texts(), switched_on);
}

INSTANTIATE_TEST_SUITE_P(Wiring, DeviceCount,
                         testing::Values(Count{"None", 0, "Enumerated 0 devices.\n"},
                                         Count{"One", 1, "Enumerated 1 devices.\n"},
                                         Count{"Two", 2, "Enumerated 2 devices.\n"},
                                         Count{"Negative", -1, "Enumerated -1 devices.\n"},
                                         Count{"Least", INT_MIN, "Enumerated -2147483648 devices.\n"},
                                         Count{"Most", INT_MAX, "Enumerated 2147483647 devices.\n"}),
                         [](const auto &row) { return row.param.name; });

class FrenchNumbers : public std::numpunct<char>
{
    char do_thousands_sep() const override { return ' '; }
    std::string do_grouping() const override { return "\3"; }
};

/// Makes everything format numbers as in France, until the end of the scope.
class InFrance
{
public:
    InFrance()
    {
        const std::locale france(std::locale::classic(), new FrenchNumbers);
        m_global = std::locale::global(france);
        m_output = std::cout.imbue(france);
        QLocale::setDefault(QLocale(QLocale::French, QLocale::France));
    }
    ~InFrance()
    {
        QLocale::setDefault(m_qt);
        std::cout.imbue(m_output);
        std::locale::global(m_global);
    }
    InFrance(const InFrance &) = delete;
    InFrance &operator=(const InFrance &) = delete;

private:
    QLocale m_qt;
    std::locale m_global;
    std::locale m_output;
};

TEST_F(Wiring, DeviceCountIsToldAlikeInEveryLocale)
{
    Korvane korvane(nullptr, nullptr);
    const InFrance france;

    const std::string output = output_of([&korvane] { korvane.in_device_enum_count(1234567); });

    EXPECT_EQ(output, "Enumerated 1234567 devices.\n");
}

/// Stands in for standard output: keeps the text, counts flushes, and notes the driver's calls so far.
class WatchedOutput : public std::stringbuf
{
public:
    explicit WatchedOutput(const SimulatedDriver &driver)
        : m_driver(driver), m_previous(std::cout.rdbuf(this))
    {
    }
    ~WatchedOutput() override { std::cout.rdbuf(m_previous); }
    WatchedOutput(const WatchedOutput &) = delete;
    WatchedOutput &operator=(const WatchedOutput &) = delete;

    int flushes = 0;
    std::size_t calls_so_far = 99;

protected:
    std::streamsize xsputn(const char *text, std::streamsize length) override
    {
        calls_so_far = m_driver.calls().size();
        return std::stringbuf::xsputn(text, length);
    }
    int sync() override
    {
        ++flushes;
        return std::stringbuf::sync();
    }

private:
    const SimulatedDriver &m_driver;
    std::streambuf *m_previous;
};

TEST_F(Wiring, DeviceCountIsToldBeforeTheBoardsAreAndIsNotFlushed)
{
    Korvane korvane(nullptr, nullptr);
    driver.clear_calls();
    const WatchedOutput output(driver);

    korvane.in_device_enum_count(2);

    EXPECT_EQ(output.str(), "Enumerated 2 devices.\n");
    EXPECT_EQ(output.calls_so_far, 0U);
    EXPECT_EQ(output.flushes, 0);
}

TEST_F(Wiring, EveryEnumerationIsToldAndConfiguresAgain)
{
    const Korvane korvane(nullptr, nullptr);
    driver.clear_calls();

    const std::string output = output_of([&korvane] { korvane.findChild<ZorvicHardware *>()->pnp(); });

    EXPECT_EQ(output, "Enumerated 1 devices.\n");
    EXPECT_EQ(driver.calls("SetTouchDestination").size(), 1U);
}

TEST_F(Wiring, EnumerationOnTheDriversThreadConfiguresOnTheGuiThread)
{
    const Korvane korvane(nullptr, nullptr);
    auto *const hardware = korvane.findChild<ZorvicHardware *>();
    driver.clear_calls();

    std::thread([hardware] { hardware->pnp(); }).join();
    EXPECT_TRUE(driver.calls("SetTouchDestination").empty());
    QCoreApplication::processEvents();

    const auto calls = driver.calls("SetTouchDestination");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls.front().thread, gettid());
}

// Tests of the destruction.

TEST_F(Wiring, DestructionSwitchesOffThenDetaches)
{
    auto korvane = std::make_unique<Korvane>(nullptr, nullptr);
    const auto registered = driver.calls("SetPnpCallback").front().arguments;
    driver.clear_calls();

    korvane.reset();

    // The binding detaches once more when it closes the library.
    EXPECT_EQ(driver.call_texts(), switched_off + Texts({"ClearCallback(0)", "Detach()", "Detach()"}));
    const auto withdrawn = driver.calls("ClearCallback").front().arguments;
    EXPECT_EQ(withdrawn["callback"], registered["callback"]);
    EXPECT_EQ(withdrawn["context"], registered["context"]);
}

// Tests without a driver, or with one that lacks functions.

TEST(WiringWithoutADriver, TellsNothingAndStillConvertsSamples)
{
    std::unique_ptr<Korvane> korvane;
    const std::string output =
        output_of([&korvane] { korvane = std::make_unique<Korvane>(nullptr, nullptr); });
    const ContactReceiver receiver(*korvane);

    korvane->in_pen_event({0, 1, 2, true, false, false});
    korvane->in_touch_event({{0, 1, 2, 3, true}});
    korvane->in_erase_event({{0, 1, 2, 3, 4, true}});

    EXPECT_EQ(output, "");
    EXPECT_EQ(receiver.pens.size(), 1U);
    EXPECT_EQ(receiver.touches.size(), 1U);
    EXPECT_EQ(receiver.erasers.size(), 1U);
}

TEST(WiringWithADriverThatLacksEverything, TellsOfNoDevices)
{
    const SimulatedDriver driver({}, "without_anything");
    std::unique_ptr<Korvane> korvane;

    const std::string output =
        output_of([&korvane] { korvane = std::make_unique<Korvane>(nullptr, nullptr); });

    EXPECT_EQ(output, "Enumerated 0 devices.\n");
}

TEST(WiringWithADriverThatTakesNothingBack, LosesUnclaimedContactsUntilTheyLift)
{
    const SimulatedDriver driver(one_board(), "without_SendTouchPacketToSystem");
    Korvane korvane(nullptr, nullptr);
    const ContactReceiver receiver(korvane);

    korvane.in_pen_event({0, 1, 2, true, false, false});
    korvane.in_pen_event({0, 2, 2, true, false, false});
    korvane.in_touch_event({{0, 1, 2, 3, true}});
    korvane.in_touch_event({{0, 2, 2, 3, true}});

    EXPECT_EQ(receiver.pens.size(), 1U);
    EXPECT_EQ(receiver.touches.size(), 1U);
}

// Tests of what the meta-object system knows about the class.

TEST(InputModel, DeclaresItsSignalsThenItsSlots)
{
    const QMetaObject &meta = Korvane::staticMetaObject;

    QList<QByteArray> signatures;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        signatures.append(meta.method(i).methodSignature());

    EXPECT_EQ(signatures,
              (QList<QByteArray>{"out_korvane_pen_event(Korvane::Controls&)",
                                 "out_korvane_touch_event(std::vector<Korvane::Controls>&)",
                                 "out_korvane_erase_event(std::vector<Korvane::Controls>&)",
                                 "in_device_enum_count(int)", "in_pen_event(ZorvicHardware::PenEvent)",
                                 "in_touch_event(ZorvicHardware::TouchEvent)",
                                 "in_erase_event(ZorvicHardware::EraseEvent)"}));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(meta.method(meta.methodOffset() + i).parameterNames(), QList<QByteArray>{"event"});
}

} // namespace
