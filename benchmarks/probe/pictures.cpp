// Compares what the program shows with what another build of it shows for the same keys and reports.

#include "cases.h"
#include "latency/contacts.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>

using namespace latency;

namespace {

constexpr Nanoseconds rest = 300 * millisecond;
constexpr int frame = 40; // pixels at the edges that belong to the window manager

constexpr std::uint32_t key_space = ' ';
constexpr std::uint32_t key_backspace = 0xff08;
constexpr std::array<std::uint32_t, 6> pattern_keys{'g', 's', 'c', 'b', 0xff51, 0xff53};

// An info tag in pixels: the area of its text, up and to the left of the contact's circle, and a little more.
constexpr int tag_width = 150;
constexpr int tag_height = 125;
constexpr int tag_margin = 4;
constexpr int pen_circle = 25;

struct Scene
{
    Picture picture;
    std::vector<Point> tag_corners; ///< the lower right corner of each info tag shown
};

const Contacts a_pen{Contacts::pen, 1, 0};
const Contacts ten_touches{Contacts::touch, 10, 12};
const Contacts two_erasers{Contacts::eraser, 2, 30};

/// Plays one program through all scenes.
class Player
{
public:
    explicit Player(const Paths &paths, Screen &screen) : m_screen(screen), m_program(paths, screen) { }

    std::vector<Scene> play()
    {
        take(); // the help text
        m_program.prepare(false);
        for (const std::uint32_t key : pattern_keys) {
            press(key);
            take();
        }
        press(pattern_keys.back()); // white again
        draw_widths();
        move_all(0);
        take();
        press(pattern_keys.front());
        take(); // strokes and holes over a pattern
        lift_all();
        press(key_backspace);
        take();

        set(key_space);
        for (int way = 0; way < 3; ++way) {
            move_all(way);
            take_with_tags(way);
        }
        lift_all();
        take();
        return m_scenes;
    }

private:
    void settle() { m_screen.settle(rest, now() + patience); }

    void press(std::uint32_t key)
    {
        m_screen.press(key);
        if (!m_screen.waitForChange(now() + patience))
            throw std::runtime_error("a key does not change the picture");
        settle();
    }

    /// Presses a key without visible effect. A pattern that is switched on and off after it shows that the
    /// program has handled it.
    void set(std::uint32_t key)
    {
        m_screen.press(key);
        press(pattern_keys[2]);
        press(pattern_keys[2]);
    }

    void take() { m_scenes.push_back({m_screen.picture(), {}}); }

    /// Delivers the reports, waits until strokes have reached @p points, and then until the screen is at
    /// rest.
    void deliver(const std::vector<boardsim::Bytes> &reports, const std::vector<Point> &points)
    {
        const std::vector<Colour> before = m_screen.colours(points);
        m_program.deliver(reports);
        m_program.awaitStrokes(points, before);
        settle();
    }

    boardsim::Bytes pen(Point place, bool down = true) const { return a_pen.report({place}, m_screen, down); }

    void draw_widths()
    {
        for (int width = 0; width < 10; ++width) {
            set(static_cast<std::uint32_t>('0' + width));
            const int y = 100 + 30 * width;
            deliver({pen({1200, y}), pen({1403, y + 7}), pen({1601, y - 9}), pen({1701, y - 9}, false)},
                    {{1651, y - 9}});
        }
        set('3');
    }

    static std::vector<Point> pen_places(int way) { return {{300 + 17 * way, 1000 - 31 * way}}; }

    static std::vector<Point> touch_places(int way)
    {
        std::vector<Point> places;
        for (int i = 0; i < ten_touches.count; ++i)
            places.push_back({240 + 200 * (i % 5) + 13 * way, 220 + 250 * (i / 5) + 3 * i + 29 * way});
        return places;
    }

    /// Places across the strokes of all widths.
    static std::vector<Point> eraser_places(int way)
    {
        return {{1400 - 11 * way, 150 + 5 * way}, {1500 + 23 * way, 320}};
    }

    /// Puts all contacts down, moves or lifts them. What an eraser does may be invisible, so its report comes
    /// first: once the strokes of the others are on the screen, its work is done too.
    void move_all(int way, bool down = true)
    {
        std::vector<Point> points = touch_places(way);
        points.push_back(pen_places(way).front());
        for (Point &point : points)
            point = {point.x + 1, point.y + 1}; // beside the cross that an info tag draws
        deliver({two_erasers.report(eraser_places(way), m_screen, down), pen(pen_places(way).front(), down),
                 ten_touches.report(touch_places(way), m_screen, down)},
                points);
    }

    void lift_all() { move_all(3, false); }

    void take_with_tags(int way)
    {
        take();
        add_corners(pen_places(way), pen_circle, pen_circle);
        add_corners(touch_places(way), ten_touches.radius);
        add_corners(eraser_places(way), two_erasers.radius);
    }

    /// The board is as many raw units high as wide, so circles are as flat as the screen.
    void add_corners(const std::vector<Point> &places, int radius)
    {
        add_corners(places, radius, radius * m_screen.height() / m_screen.width());
    }

    void add_corners(const std::vector<Point> &places, int width, int height)
    {
        for (const Point place : places)
            m_scenes.back().tag_corners.push_back({place.x - width, place.y - height});
    }

    Screen &m_screen;
    Program m_program;
    std::vector<Scene> m_scenes;
};

bool in_tag(Point pixel, const Scene &scene)
{
    return std::any_of(scene.tag_corners.begin(), scene.tag_corners.end(), [pixel](Point corner) {
        return pixel.x >= corner.x - tag_width - tag_margin && pixel.x < corner.x + tag_margin
            && pixel.y >= corner.y - tag_height - tag_margin && pixel.y < corner.y + tag_margin;
    });
}

int difference(Colour a, Colour b)
{
    int most = 0;
    for (const int shift : {0, 8, 16})
        most = std::max(most,
                        std::abs(static_cast<int>(a >> shift & 0xff) - static_cast<int>(b >> shift & 0xff)));
    return most;
}

struct Differences
{
    long pixels = 0;    ///< number that differ outside of tags
    int tag_levels = 0; ///< largest difference of a pixel in a tag
};

void compare(const Scene &scene, const Scene &other, Differences &found)
{
    for (int y = frame; y < scene.picture.height - frame; ++y) {
        for (int x = frame; x < scene.picture.width - frame; ++x) {
            const int levels = difference(scene.picture.at({x, y}), other.picture.at({x, y}));
            if (levels == 0)
                continue;
            if (in_tag({x, y}, scene))
                found.tag_levels = std::max(found.tag_levels, levels);
            else
                ++found.pixels;
        }
    }
}

Result run(const Setting &setting)
{
    const std::vector<Scene> scenes = Player(setting.paths, setting.screen).play();
    const Paths before{setting.program_before, setting.paths.driverFolder};
    const std::vector<Scene> others = Player(before, setting.screen).play();
    Differences found;
    for (std::size_t i = 0; i < scenes.size(); ++i)
        compare(scenes[i], others.at(i), found);
    Result result;
    result["values"]["pictures"] = scenes.size();
    result["values"]["pixels that differ, tags apart"] = found.pixels;
    result["values"]["largest difference in a tag [levels of 255]"] = found.tag_levels;
    return result;
}

} // namespace

void add_picture_cases(std::vector<Case> &cases)
{
    cases.push_back({"pictures", run});
}
