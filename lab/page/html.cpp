#include "page/html.h"

#include "language.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace page {

namespace {

/// Without the characters that no document may hold, as HTML and XML see it.
std::string printable(std::string_view text)
{
    std::string kept;
    kept.reserve(text.size());
    for (const char byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        const bool isControl = (code < ' ' && byte != '\n' && byte != '\t') || code == 0x7f;
        kept += isControl ? ' ' : byte;
    }
    return kept;
}

} // namespace

void Markup::open(const char *element, Attributes attributes)
{
    m_printer.OpenElement(element, true);
    for (const auto &[name, value] : attributes)
        m_printer.PushAttribute(name, printable(value).c_str());
}

void Markup::close()
{
    m_printer.CloseElement(true);
}

void Markup::text(std::string_view content)
{
    m_printer.PushText(printable(content).c_str());
}

void Markup::leaf(const char *element, std::string_view content, Attributes attributes)
{
    open(element, attributes);
    text(content);
    close();
}

void Markup::empty(const char *element, Attributes attributes)
{
    open(element, attributes);
    close();
}

Html::Html(const std::string &title, const char *css)
{
    m_printer.PushUnknown("DOCTYPE html");
    // TRANSLATORS: the code of the language, such as "de", for whoever reads a page aloud.
    open("html", {{"lang", lab::tr("en")}});
    open("head");
    empty("meta", {{"charset", "utf-8"}});
    empty("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
    empty("meta", {{"name", "color-scheme"}, {"content", "light dark"}});
    leaf("title", title);
    leaf("style", css);
    close();
    open("body");
}

std::string Html::finish()
{
    close();
    close();
    return std::string(m_printer.CStr()) + "\n";
}

Svg::Svg(const Heading &heading, int width, int height, const char *css)
{
    const std::string size = std::to_string(width) + " " + std::to_string(height);
    open("svg",
         {{"xmlns", "http://www.w3.org/2000/svg"},
          {"width", std::to_string(width)},
          {"height", std::to_string(height)},
          {"viewBox", "0 0 " + size},
          {"role", "img"},
          {"aria-labelledby", "title description"}});
    leaf("title", heading.title, {{"id", "title"}});
    leaf("desc", heading.description, {{"id", "description"}});
    leaf("style", css);
}

std::string Svg::finish()
{
    close();
    return std::string(m_printer.CStr()) + "\n";
}

std::string numberText(double value, int digits)
{
    const double size = std::abs(value);
    const int before = size > 0 ? static_cast<int>(std::floor(std::log10(size))) + 1 : 1;
    const int decimals = std::clamp(digits - before, 0, 6);
    std::array<char, 400> text{};
    const int length = std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    std::string number(text.data(), static_cast<std::size_t>(length));
    if (number.find('.') != std::string::npos) {
        number.erase(number.find_last_not_of('0') + 1);
        if (number.back() == '.')
            number.pop_back();
    }
    return number == "-0" ? "0" : number;
}

} // namespace page
