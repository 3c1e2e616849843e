#include "ending.h"

#include "lxwindow.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

constexpr int handled[] = {SIGTERM, SIGINT, SIGHUP};

class AnEnding : public testing::TestWithParam<int>
{
protected:
    AnEnding()
    {
        for (const int signal : handled)
            std::signal(signal, SIG_DFL);
    }
};

TEST_P(AnEnding, ClosesTheWindowAtItsSignal)
{
    Ending ending;
    LanternixDialog dialog(nullptr);
    std::raise(GetParam());
    EXPECT_TRUE(dialog.isVisible()) << "the handler only wakes the event loop";

    EXPECT_EQ(ending.run(dialog), 128 + GetParam());

    EXPECT_FALSE(dialog.isVisible());
}

TEST_P(AnEnding, EndsTheProcessAtTheSecondSignal)
{
    const auto raise_twice = [] {
        const Ending ending;
        std::raise(GetParam());
        std::raise(GetParam());
    };

    EXPECT_EXIT(raise_twice(), testing::KilledBySignal(GetParam()), "");
}

TEST_P(AnEnding, LeavesASignalIgnoredThatTheProcessIgnores)
{
    std::signal(GetParam(), SIG_IGN);
    Ending ending;
    LanternixDialog dialog(nullptr);
    std::raise(GetParam());
    QMetaObject::invokeMethod(&dialog, &LanternixDialog::close, Qt::QueuedConnection);

    EXPECT_EQ(ending.run(dialog), 0);
}

INSTANTIATE_TEST_SUITE_P(Signal, AnEnding, testing::ValuesIn(handled));

} // namespace
