#include "accept/steps.h"

#include "accept/judges.h"
#include "accept/sketch.h"
#include "language.h"

namespace acceptance {

namespace {

using Texts = std::vector<std::string>;
using lab::format;
using lab::tr;
using lab::trCount;
using lab::trLater;

// What is asked of a board of unknown size, as shares of the screen's width.
constexpr double targetMean = 0.0025;
constexpr double targetWorst = 0.006;
constexpr double lineMean = 0.0015;
constexpr double lineWorst = 0.003;
constexpr double resting = 0.002;
constexpr double drum = 0.012;
/// The width in millimetres of a board for which these are what is asked of one of known size.
constexpr double usualWidth = 1650;

Texts restInstruction(const Setting &)
{
    return {tr(
        "Rest one finger in the middle of the board for five seconds, as still as you can. Then lift it.")};
}

Texts targetsInstruction(const Setting &setting)
{
    const std::vector<Target> targets = targetsOf(setting.frame);
    const int sizes = sizesOf(setting.frame);
    std::string text = format(
        tr("Circles of the same size surround the middle, small ones inside, larger ones outside. Of each "
           "size, four are nearest to the middle, at its corners. Tap their crosses with one finger, "
           "clockwise: top left, top right, bottom right, bottom left. Begin with the smallest size; the "
           "last one is size %d."),
        sizes);
    if (targets.size() > 4 * static_cast<std::size_t>(sizes))
        text += std::string(" ")
            + tr("Then tap the outermost whole circles of that last size, clockwise from the left.");
    text += " "
        + format(tr("These are %zu taps. Those that fit into this drawing of the window, in their order:"),
                 targets.size());
    Texts texts{text};
    const Texts sketch = sketchOf(setting.frame, targets);
    texts.insert(texts.end(), sketch.begin(), sketch.end());
    return texts;
}

Texts barInstruction(const Setting &)
{
    return {
        tr("Lay a ruler along the left edge of the third black bar from the left. With a pen or a finger, "
           "follow it from the top of the window down to the bottom, and up again to the top.")};
}

Texts gridInstruction(const Setting &)
{
    return {tr("Lay a ruler along any horizontal line and follow it from the left edge of the window to the "
               "right edge. Then do the same with any vertical line, from the top to the bottom.")};
}

Texts diagonalsInstruction(const Setting &)
{
    return {tr(
        "Follow a straight line, if you can with a ruler or a taut string, from the top left corner of the "
        "window to the bottom right corner. Then another one from the top right corner to the bottom left "
        "corner.")};
}

Texts fingersInstruction(const Setting &setting)
{
    return {format(
        trCount(
            "Put %d fingers down one by one, until all of them rest on the board. Then lift them one by one.",
            setting.fingers),
        setting.fingers)};
}

Texts drummingInstruction(const Setting &)
{
    return {
        tr("Drum with two fingers, a hand's width apart: left, right, left, right, as fast as you like, ten "
           "taps or more.")};
}

Texts writingInstruction(const Setting &)
{
    return {
        tr("Write a word with each pen of the board, one pen after the other. Then press Enter here. If the "
           "board has no pens, skip this step.")};
}

Texts wipingInstruction(const Setting &)
{
    return {tr("Wipe over it with the board's eraser, to and fro. If the board has none, skip this step.")};
}

Texts pluggingInstruction(const Setting &)
{
    return {
        tr("Pull out the board's cable. Wait three seconds, plug it in again, and wait until the board is "
           "ready. Then tap once anywhere.")};
}

constexpr const char *white =
    trLater("The window is white; if it shows a pattern, press G, twice if need be.");

} // namespace

Setting::Setting(const Frame &where, double width, double height) : frame(where)
{
    const bool isKnown = width > 0 && height > 0;
    scale.x = isKnown ? width / boardWidth : frame.screen.width / boardWidth;
    scale.y = isKnown ? height / boardWidth : frame.screen.height / boardWidth;
    scale.unit = isKnown ? "mm" : "px";
    const double full = isKnown ? usualWidth : frame.screen.width;
    targets = {targetMean * full, targetWorst * full};
    lines = {lineMean * full, lineWorst * full};
    stillness = resting * full;
    drumming = drum * full;
}

const std::vector<Step> &steps()
{
    static const std::vector<Step> all{
        {"rest", trLater("One finger rests"),
         trLater("Press H in the window: the list of keys goes, and the window is white."), restInstruction,
         judgeRest},
        {"targets", trLater("Targets"),
         trLater("Press S in the window, so that it shows circles with crosses."), targetsInstruction,
         judgeTargets},
        {"bar", trLater("The edge of a bar"),
         trLater("Press the left arrow key in the window, so that it shows upright bars."), barInstruction,
         judgeBar},
        {"grid", trLater("Lines of the grid"),
         trLater("Press G in the window, so that it shows a dotted grid."), gridInstruction, judgeGrid},
        {"diagonals", trLater("Diagonals"), trLater("The window still shows the grid."), diagonalsInstruction,
         judgeDiagonals},
        {"fingers", trLater("Ten fingers"), trLater("Press G in the window once more, so that it is white."),
         fingersInstruction, judgeFingers},
        {"drumming", trLater("Two fingers in turn"), white, drummingInstruction, judgeDrumming},
        {"writing", trLater("Pens"), white, writingInstruction, judgeWriting},
        {"wiping", trLater("Eraser"), trLater("Leave what you have written."), wipingInstruction,
         judgeWiping},
        {"plugging", trLater("Unplugging"), trLater("The window stays as it is."), pluggingInstruction,
         judgePlugging},
    };
    return all;
}

} // namespace acceptance
