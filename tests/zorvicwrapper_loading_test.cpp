#include "hardware/zorvicwrapper.h"
#include "support/driver_exports.h"
#include "support/recording_driver.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

// How the wrapper opens, resolves and closes the driver library.

namespace {

using Names = std::vector<std::string>;

const Names resolving_order(driver_exports.begin(), driver_exports.end());

TEST(Attaching, OpensTheLibraryResolvesEveryExportInOrderAndAttachesToTheDriver)
{
    RecordingDriver driver;
    driver.answers["Attach"] = 1;
    ZorvicWrapper wrapper;

    EXPECT_TRUE(wrapper.Attach());

    EXPECT_EQ(driver.loader_calls, Names{"dlopen(libzorvicboardex.so.1, RTLD_NOW)"});
    EXPECT_EQ(driver.resolved, resolving_order);
    EXPECT_EQ(driver.lines(), Names{"Attach()"});
    EXPECT_TRUE(wrapper.isOpen());
}

TEST(Attaching, FailsButStaysOpenWhereTheDriverRefuses)
{
    RecordingDriver driver;
    driver.answers["Attach"] = 0;
    ZorvicWrapper wrapper;

    EXPECT_FALSE(wrapper.Attach());

    EXPECT_TRUE(wrapper.isOpen());
}

TEST(Attaching, FailsQuietlyButStaysOpenWhereTheDriverHasNoAttach)
{
    RecordingDriver driver;
    driver.missing = {"Attach"};
    ZorvicWrapper wrapper;

    testing::internal::CaptureStderr();
    EXPECT_FALSE(wrapper.Attach());

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(wrapper.isOpen());
    EXPECT_EQ(driver.resolved, resolving_order);
}

TEST(AttachingAgain, ReusesTheHandleAndResolvesEverythingAgain)
{
    RecordingDriver driver;
    driver.answers["Interface"] = 4;
    driver.missing = {"Interface", "SetTouchEnabled"};
    ZorvicWrapper wrapper;
    wrapper.Attach();
    driver.resolved.clear();
    driver.missing = {"GetDeviceCount"};
    driver.answers["GetDeviceCount"] = 9;

    wrapper.Attach();

    EXPECT_EQ(driver.loader_calls.size(), 1U);
    EXPECT_EQ(driver.resolved, resolving_order);
    EXPECT_EQ(wrapper.Interface(), 4) << "an export that has come";
    EXPECT_EQ(wrapper.GetDeviceCount(), 0) << "an export that has gone";
    EXPECT_EQ(driver.calls("Attach").size(), 2U);
}

TEST(AMissingLibrary, IsLookedForAgainByTheNextAttach)
{
    RecordingDriver driver;
    driver.opens = false;
    driver.answers["Attach"] = 1;
    ZorvicWrapper wrapper;

    testing::internal::CaptureStderr();
    EXPECT_FALSE(wrapper.Attach());
    EXPECT_FALSE(wrapper.Attach());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the loader's own wordsthe loader's own words");
    EXPECT_FALSE(wrapper.isOpen());
    EXPECT_EQ(driver.resolved, Names{});

    driver.opens = true;
    EXPECT_TRUE(wrapper.Attach());
    EXPECT_TRUE(wrapper.isOpen());
    EXPECT_EQ(driver.loader_calls.size(), 3U);
}

TEST(AMissingLibrary, IsReportedInTheRealLoadersWords)
{
    ZorvicWrapper wrapper;

    testing::internal::CaptureStderr();
    EXPECT_FALSE(wrapper.Attach());

    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "libzorvicboardex.so.1: cannot open shared object file: No such file or directory");
}

TEST(TheEndOfAWrapper, DetachesAndThenClosesTheLibrary)
{
    RecordingDriver driver;
    auto wrapper = std::make_unique<ZorvicWrapper>();
    wrapper->Attach();
    wrapper->Attach();
    driver.clear();
    driver.loader_calls.clear();

    wrapper.reset();

    EXPECT_EQ(driver.lines(), Names{"Detach()"});
    EXPECT_EQ(driver.loader_calls, Names{"dlclose()"});
}

TEST(TheEndOfAWrapper, ClosesALibraryWithoutDetach)
{
    RecordingDriver driver;
    driver.missing = {"Detach"};
    auto wrapper = std::make_unique<ZorvicWrapper>();
    wrapper->Attach();
    driver.loader_calls.clear();

    wrapper.reset();

    EXPECT_EQ(driver.loader_calls, Names{"dlclose()"});
}

TEST(TheEndOfAWrapper, DoesNothingWhereNoLibraryWasOpened)
{
    RecordingDriver driver;

    std::make_unique<ZorvicWrapper>().reset();

    EXPECT_EQ(driver.lines(), Names{});
    EXPECT_EQ(driver.loader_calls, Names{});
}

} // namespace
