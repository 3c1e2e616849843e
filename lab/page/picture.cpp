#include "page/picture.h"

#include <cmath>

namespace page {

Picture::Picture(Html &html, const Aspect &aspect, const std::string &title, const std::string &description)
    : m_html(html), m_caption(title + ". " + description), m_figure(html, "figure"),
      m_svg(std::in_place, html, "svg",
            Html::Attributes{{"viewBox", "0 0 " + whole(aspect.width) + " " + whole(aspect.height)},
                             {"role", "img"},
                             {"aria-label", m_caption}})
{
    html.leaf("title", title);
}

Picture::~Picture()
{
    m_svg.reset();
    m_html.leaf("figcaption", m_caption);
}

std::string whole(double value)
{
    return std::to_string(std::lround(value));
}

} // namespace page
