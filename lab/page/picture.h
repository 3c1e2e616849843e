#pragma once

#include "page/html.h"

#include <optional>
#include <string>

namespace page {

/// How wide a picture of the board is for its height.
struct Aspect
{
    double width = 1600;
    double height = 900;
};

/// A figure with an SVG as long as it lives: a title that is read out, and a caption that says what is seen.
class Picture
{
public:
    Picture(Html &html, const Aspect &aspect, const std::string &title, const std::string &description);
    ~Picture();
    Picture(const Picture &) = delete;
    Picture &operator=(const Picture &) = delete;

private:
    Html &m_html;
    const std::string m_caption;
    const Element m_figure;
    std::optional<Element> m_svg;
};

/// A length or a place in the units of an SVG, rounded.
std::string whole(double value);

} // namespace page
