#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include <tinyxml2.h>

namespace page {

/// Writes an HTML page with inline SVG, element by element. All text is escaped, so that no text of a
/// recording can be markup. Used on one thread.
class Html
{
public:
    using Attribute = std::pair<const char *, std::string>;
    using Attributes = std::initializer_list<Attribute>;

    /// Begins the document with its head; @p style is CSS without the signs "<", ">" and "&".
    Html(const std::string &title, const char *style);

    void open(const char *element, Attributes attributes = {});
    void close();
    void text(std::string_view content);
    /// An element with nothing but text.
    void leaf(const char *element, std::string_view content, Attributes attributes = {});
    /// An element that can have no content, such as br or an SVG's line.
    void empty(const char *element, Attributes attributes = {});

    /// Ends the document. To be called once; returns it.
    std::string finish();

private:
    tinyxml2::XMLPrinter m_printer;
};

/// An element that ends with its scope.
class Element
{
public:
    Element(Html &html, const char *name, Html::Attributes attributes = {}) : m_html(html)
    {
        html.open(name, attributes);
    }
    ~Element() { m_html.close(); }
    Element(const Element &) = delete;
    Element &operator=(const Element &) = delete;

private:
    Html &m_html;
};

/// A number with at most @p digits significant ones, without an exponent: 0.0123, 4.5, 12345.
std::string numberText(double value, int digits = 3);

} // namespace page
