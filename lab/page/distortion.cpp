#include "page/distortion.h"

#include "language.h"
#include "page/picture.h"

#include "accept/judges.h"

#include <algorithm>

namespace page {

namespace {

using acceptance::boardWidth;
using acceptance::Touched;
using lab::format;
using lab::tr;

constexpr double longest = 90; ///< of the lines that join two places, in units of the picture
constexpr double targetRadius = 9;
constexpr double arm = 8; ///< of the cross at a reported place

/// The largest round factor with which no error is drawn too long.
int magnificationOf(const acceptance::Finding &targets, const Aspect &aspect)
{
    double farthest = 0;
    for (const Touched &touched : targets.touched) {
        const acceptance::Scale scale{aspect.width / boardWidth, aspect.height / boardWidth, ""};
        farthest = std::max(farthest,
                            scale.length({touched.at.x - touched.target.x, touched.at.y - touched.target.y}));
    }
    int magnification = 1;
    for (const int factor : {2, 5, 10, 20, 50, 100}) {
        if (factor * farthest <= longest)
            magnification = factor;
    }
    return magnification;
}

} // namespace

void distortionMap(Html &html, const acceptance::Finding &targets, const acceptance::Setting &setting)
{
    const acceptance::Area &screen = setting.frame.screen;
    Aspect aspect;
    aspect.height = std::clamp(aspect.width * screen.height / screen.width, 400.0, 3200.0);
    const int magnification = magnificationOf(targets, aspect);
    const double width = boardWidth * setting.scale.x / aspect.width * longest;
    const std::string caption =
        (magnification == 1
             ? std::string(tr("Each circle is a target on the screen, the cross that is joined to it the "
                              "place where the board reports it, to scale."))
             : format(tr("Each circle is a target on the screen, the cross that is joined to it the place "
                         "where the board reports it, %d times as far away as it is."),
                      magnification))
        + " "
        + format(tr("The line at the bottom left is as long as %s."),
                 acceptance::lengthText(width / magnification, setting).c_str());
    const Picture picture(html, aspect, tr("Map of distortion"), caption);
    html.leaf("desc", caption);
    for (const Touched &touched : targets.touched) {
        const double x = touched.target.x / boardWidth * aspect.width;
        const double y = touched.target.y / boardWidth * aspect.height;
        const double toX = x + magnification * (touched.at.x - touched.target.x) / boardWidth * aspect.width;
        const double toY = y + magnification * (touched.at.y - touched.target.y) / boardWidth * aspect.height;
        html.empty("circle",
                   {{"class", "stroke pen"}, {"cx", whole(x)}, {"cy", whole(y)}, {"r", whole(targetRadius)}});
        html.empty("path",
                   {{"class", "stroke pen"},
                    {"d",
                     "M" + whole(x) + " " + whole(y) + "L" + whole(toX) + " " + whole(toY) + "M"
                         + whole(toX - arm) + " " + whole(toY) + "h" + whole(2 * arm) + "M" + whole(toX) + " "
                         + whole(toY - arm) + "v" + whole(2 * arm)}});
    }
    html.empty("path",
               {{"class", "stroke pen"}, {"d", "M30 " + whole(aspect.height - 30) + "h" + whole(longest)}});
}

} // namespace page
