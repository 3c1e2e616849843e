#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <string>

/// How colours look to people, also to those who lack one kind of the eye's cones.
namespace vision {

/// Red, green and blue of sRGB, linear, from 0 to 1.
using Colour = std::array<double, 3>;
using Matrix = std::array<Colour, 3>;

enum class Kind { normal, protanopia, deuteranopia, tritanopia };

/// @p text: "#rrggbb".
inline Colour colour(const std::string &text)
{
    if (text.size() != 7 || text.front() != '#')
        throw std::invalid_argument("\"" + text + "\" is no colour");
    Colour colour{};
    for (std::size_t i = 0; i < colour.size(); ++i) {
        const double value = std::stoi(text.substr(1 + 2 * i, 2), nullptr, 16) / 255.0;
        colour.at(i) = value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    }
    return colour;
}

inline double encoded(double linear)
{
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

/// What a browser shows of @p colour with this opacity on @p background: it mixes the encoded values.
inline Colour over(const Colour &background, const Colour &colour, double opacity)
{
    Colour mixed{};
    for (std::size_t i = 0; i < mixed.size(); ++i) {
        const double value = opacity * encoded(colour.at(i)) + (1 - opacity) * encoded(background.at(i));
        mixed.at(i) = value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    }
    return mixed;
}

inline Colour product(const Matrix &matrix, const Colour &colour)
{
    Colour result{};
    for (std::size_t row = 0; row < result.size(); ++row) {
        double sum = 0;
        for (std::size_t i = 0; i < colour.size(); ++i)
            sum += matrix.at(row).at(i) * colour.at(i);
        result.at(row) = std::clamp(sum, 0.0, 1.0);
    }
    return result;
}

/// What @p colour looks like: without long and medium cones as Viénot, Brettel and Mollon (1999) simulate it,
/// without short ones as Brettel, Viénot and Mollon (1997) do, on either side of a plane through white.
inline Colour seen(const Colour &colour, Kind kind)
{
    static constexpr Matrix protan{{{0.11238, 0.88762, 0}, {0.11238, 0.88762, 0}, {0.00401, -0.00401, 1}}};
    static constexpr Matrix deutan{{{0.29275, 0.70725, 0}, {0.29275, 0.70725, 0}, {-0.02234, 0.02234, 1}}};
    static constexpr Matrix tritan{
        {{1.01277, 0.13548, -0.14826}, {-0.01243, 0.86812, 0.14431}, {0.07589, 0.80500, 0.11911}}};
    static constexpr Matrix tritanBeyond{
        {{0.93678, 0.18979, -0.12657}, {0.06154, 0.81526, 0.12320}, {-0.37562, 1.12767, 0.24796}}};
    static constexpr Colour plane{0.03901, -0.02788, -0.01113};
    switch (kind) {
    case Kind::protanopia:
        return product(protan, colour);
    case Kind::deuteranopia:
        return product(deutan, colour);
    case Kind::tritanopia: {
        const double side = plane[0] * colour[0] + plane[1] * colour[1] + plane[2] * colour[2];
        return product(side >= 0 ? tritan : tritanBeyond, colour);
    }
    case Kind::normal:
        break;
    }
    return colour;
}

/// The contrast ratio of WCAG 2, from 1 to 21.
inline double contrast(const Colour &one, const Colour &other)
{
    const auto luminance = [](const Colour &colour) {
        return 0.2126 * colour[0] + 0.7152 * colour[1] + 0.0722 * colour[2];
    };
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

} // namespace vision
