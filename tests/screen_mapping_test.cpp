#include "hardware/zorvichardware.h"

#include <gtest/gtest.h>

#include <QDesktopWidget>

namespace {

/// A wide primary screen, away from the desktop's corner; other screens are small.
QRect primary_screen;

} // namespace

// The linker redirects the query for a screen's geometry to this function.
QRect geometry_of(const QDesktopWidget *desktop,
                  int screen) asm("__wrap__ZNK14QDesktopWidget14screenGeometryEi");

QRect geometry_of(const QDesktopWidget *desktop, int screen)
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    return screen == desktop->primaryScreen() ? primary_screen : QRect(0, 0, 1, 1);
    QT_WARNING_POP
}

namespace {

/// Rounds towards zero, in whole numbers.
int pixels(int extent, int raw)
{
    return static_cast<int>(static_cast<long long>(extent) * raw / 32767);
}

class TheMappingToTheScreen : public testing::Test
{
protected:
    TheMappingToTheScreen() { primary_screen = {100, 50, 1920, 1080}; }
};

TEST_F(TheMappingToTheScreen, TruncatesEveryPositionToAPixelWithoutTheScreensOrigin)
{
    const ZorvicHardware hardware(nullptr);

    for (int raw = -100; raw <= 65535; ++raw) {
        const QPoint mapped = hardware.mapUSBPosToDevicePos({raw, 65435 - raw});
        ASSERT_EQ(mapped.x(), pixels(1920, raw)) << raw;
        ASSERT_EQ(mapped.y(), pixels(1080, 65435 - raw)) << raw;
    }
}

TEST_F(TheMappingToTheScreen, ReachesOnePixelBeyondTheScreenAtItsEnd)
{
    const ZorvicHardware hardware(nullptr);

    EXPECT_EQ(hardware.mapUSBPosToDevicePos({32767, 32767}), QPoint(1920, 1080));
    EXPECT_EQ(hardware.mapUSBPosToDevicePos({32766, 32766}), QPoint(1919, 1079));
    EXPECT_EQ(hardware.mapUSBPosToDevicePos({0, 0}), QPoint(0, 0));
}

TEST_F(TheMappingToTheScreen, TakesEveryLengthAsAWidth)
{
    const ZorvicHardware hardware(nullptr);

    EXPECT_EQ(hardware.mapUSBValToDeviceVal(32767), 1920);
    for (int raw = 0; raw <= 65535; ++raw)
        ASSERT_EQ(hardware.mapUSBValToDeviceVal(raw), pixels(1920, raw)) << raw;
}

TEST_F(TheMappingToTheScreen, KeepsTheScreenThatItStartedWith)
{
    const ZorvicHardware hardware(nullptr);

    primary_screen = {0, 0, 640, 480};

    EXPECT_EQ(hardware.mapUSBPosToDevicePos({32767, 32767}), QPoint(1920, 1080));
    EXPECT_EQ(hardware.mapUSBValToDeviceVal(32767), 1920);
}

} // namespace
