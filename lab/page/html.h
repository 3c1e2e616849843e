#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include <tinyxml2.h>

namespace page {

/// Writes a document element by element. All text is escaped, so that no text of a recording can be markup.
/// Used on one thread.
class Markup
{
public:
    using Attribute = std::pair<const char *, std::string>;
    using Attributes = std::initializer_list<Attribute>;

    void open(const char *element, Attributes attributes = {});
    void close();
    void text(std::string_view content);
    /// An element with nothing but text.
    void leaf(const char *element, std::string_view content, Attributes attributes = {});
    /// An element that can have no content, such as br or an SVG's line.
    void empty(const char *element, Attributes attributes = {});

protected:
    Markup() : m_printer(nullptr, true) { }
    ~Markup() = default;

    tinyxml2::XMLPrinter m_printer;
};

/// An HTML page with inline SVG.
class Html : public Markup
{
public:
    /// Begins the document with its head; @p css is CSS without the signs "<", ">" and "&".
    Html(const std::string &title, const char *css);

    /// Ends the document. To be called once; returns it.
    std::string finish();
};

/// What a picture that stands by itself says of itself.
struct Heading
{
    std::string title;
    std::string description; ///< for those who do not see it
};

/// An SVG file.
class Svg : public Markup
{
public:
    /// Begins the document; @p width and @p height are in its own units, @p css as for a page.
    Svg(const Heading &heading, int width, int height, const char *css);

    /// Ends the document. To be called once; returns it.
    std::string finish();
};

/// An element that ends with its scope.
class Element
{
public:
    Element(Markup &markup, const char *name, Markup::Attributes attributes = {}) : m_markup(markup)
    {
        markup.open(name, attributes);
    }
    ~Element() { m_markup.close(); }
    Element(const Element &) = delete;
    Element &operator=(const Element &) = delete;

private:
    Markup &m_markup;
};

/// A number with at most @p digits significant ones, without an exponent: 0.0123, 4.5, 12345.
std::string numberText(double value, int digits = 3);

} // namespace page
