// Usage: pixel_probe X Y SECONDS
// Waits until the pixel at (X, Y) of the screen changes from what it is at the start, and prints when that
// was seen: microseconds of CLOCK_MONOTONIC, the clock of the simulated driver's log. Prints "ready" first.
// Exits with status 1 when nothing has changed after SECONDS.

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto pause = std::chrono::microseconds(300); // between two looks: the error of the figure

unsigned long pixel(Display *display, int x, int y)
{
    XImage *const image = XGetImage(display, DefaultRootWindow(display), x, y, 1, 1, AllPlanes, ZPixmap);
    const unsigned long value = XGetPixel(image, 0, 0);
    XDestroyImage(image);
    return value;
}

long long microseconds(Clock::time_point time)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 4) {
        std::fputs("usage: pixel_probe X Y SECONDS\n", stderr);
        return 2;
    }
    Display *const display = XOpenDisplay(nullptr);
    if (!display) {
        std::fputs("pixel_probe: no display\n", stderr);
        return 2;
    }
    const int x = std::atoi(argv[1]);
    const int y = std::atoi(argv[2]);
    const auto deadline = Clock::now() + std::chrono::seconds(std::atoi(argv[3]));

    const unsigned long before = pixel(display, x, y);
    std::puts("ready");
    std::fflush(stdout);
    while (pixel(display, x, y) == before) {
        if (Clock::now() > deadline)
            return 1;
        std::this_thread::sleep_for(pause);
    }
    std::printf("%lld\n", microseconds(Clock::now()));
    XCloseDisplay(display);
    return 0;
}
