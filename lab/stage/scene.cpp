#include "stage/scene.h"

#include <array>
#include <cstdio>

namespace stage {

namespace {

constexpr int extent = 100;
constexpr int samplesPerSecond = 200;

std::string textOf(int number)
{
    return std::to_string(number);
}

std::string textOf(bool fact)
{
    return fact ? "true" : "false";
}

std::string point(int x, int y)
{
    return "[" + textOf(x) + "," + textOf(y) + "]";
}

} // namespace

std::string board(int number, bool isPlugged)
{
    return R"({"type":"device","kind":1,"board":)" + textOf(number)
        + R"(,"info":"hid<true>xp<4>xt<10>xl<2>","plugged":)" + textOf(isPlugged) + "}";
}

std::string plug(int board)
{
    return R"({"type":"plug","board":)" + textOf(board) + "}";
}

std::string unplug(int board)
{
    return R"({"type":"unplug","board":)" + textOf(board) + "}";
}

std::string pen(int number, int x, int y, bool tip)
{
    return R"({"type":"pen","board":1,"pen":)" + textOf(number) + R"(,"x":)" + textOf(x) + R"(,"y":)"
        + textOf(y) + R"(,"tip":)" + textOf(tip) + R"(,"button":false})";
}

std::string touch(int id, int x, int y, bool down)
{
    return R"({"type":"touch","board":1,"contacts":[{"id":)" + textOf(id) + R"(,"x":)" + textOf(x)
        + R"(,"y":)" + textOf(y) + R"(,"extent":)" + textOf(extent) + R"(,"down":)" + textOf(down) + "}]}";
}

std::string raw(const std::string &hex)
{
    return R"({"type":"raw","board":1,"hex":")" + hex + "\"}";
}

std::string wait(int milliseconds)
{
    return R"({"type":"wait","time":)" + textOf(milliseconds * 1000) + "}";
}

std::string waitForFile(const std::string &file)
{
    return R"({"type":"wait","file":")" + file + "\"}";
}

std::string mark(const std::string &text)
{
    return R"({"type":"mark","text":")" + text + "\"}";
}

std::string stroke(int id, int fromX, int fromY, int toX, int toY, int milliseconds)
{
    return R"({"type":"move","board":1,"rate":)" + textOf(samplesPerSecond) + R"(,"time":)"
        + textOf(milliseconds * 1000) + R"(,"contacts":[{"kind":"touch","id":)" + textOf(id) + R"(,"line":[)"
        + point(fromX, fromY) + "," + point(toX, toY) + R"(],"extent":)" + textOf(extent) + "}]}";
}

std::string repeated(const std::string &text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

std::string hex(int byte)
{
    std::array<char, 3> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned>(byte) & 0xffU);
    return digits.data();
}

} // namespace stage
