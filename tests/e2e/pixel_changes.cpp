// Usage: pixel_changes X Y
// Watches the pixel at (X, Y) of the screen until it is killed. Prints "ready", and then, whenever the pixel
// has changed, the time at which that was seen, in microseconds of CLOCK_MONOTONIC, the clock of the
// simulated driver's log.

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto pause = std::chrono::microseconds(500); // between two looks; also the error of the times

unsigned long pixel(Display *display, int x, int y)
{
    XImage *const image = XGetImage(display, DefaultRootWindow(display), x, y, 1, 1, AllPlanes, ZPixmap);
    const unsigned long value = XGetPixel(image, 0, 0);
    XDestroyImage(image);
    return value;
}

void print_time()
{
    const auto now = Clock::now().time_since_epoch();
    std::printf("%lld\n",
                static_cast<long long>(std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 3) {
        std::fputs("usage: pixel_changes X Y\n", stderr);
        return 2;
    }
    Display *const display = XOpenDisplay(nullptr);
    if (!display) {
        std::fputs("pixel_changes: no display\n", stderr);
        return 1;
    }
    const int x = std::atoi(argv[1]);
    const int y = std::atoi(argv[2]);
    unsigned long shown = pixel(display, x, y);
    std::puts("ready");
    std::fflush(stdout);
    for (;;) {
        const unsigned long now = pixel(display, x, y);
        if (now != shown)
            print_time();
        shown = now;
        std::this_thread::sleep_for(pause);
    }
}
