#include "colour_scale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace ptmatch::tool {
namespace {

// CIE 1976 L*a*b* with the white of daylight D65, and from there to sRGB (IEC 61966-2-1).
constexpr std::array<double, 3> kWhite = {0.95047, 1.0, 1.08883};

double fromLab(double f) {
    constexpr double kEdge = 6.0 / 29.0;
    return f > kEdge ? f * f * f : 3.0 * kEdge * kEdge * (f - 4.0 / 29.0);
}

std::array<double, 3> linearRgb(double lightness, double a, double b) {
    const double middle = (lightness + 16.0) / 116.0;
    const double x = kWhite[0] * fromLab(middle + a / 500.0);
    const double y = kWhite[1] * fromLab(middle);
    const double z = kWhite[2] * fromLab(middle - b / 200.0);
    return {3.2406 * x - 1.5372 * y - 0.4986 * z, -0.9689 * x + 1.8758 * y + 0.0415 * z,
            0.0557 * x - 0.2040 * y + 1.0570 * z};
}

bool canBeShown(const std::array<double, 3>& linear) {
    return std::all_of(linear.begin(), linear.end(), [](double v) { return v >= 0.0 && v <= 1.0; });
}

std::uint8_t byteOf(double linear) {
    const double v = std::clamp(linear, 0.0, 1.0);
    const double shown = v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055;
    return static_cast<std::uint8_t>(std::lround(255.0 * shown));
}

}  // namespace

Rgb scaleColour(double value) {
    const double t = std::isnan(value) ? 0.0 : std::clamp(value, 0.0, 1.0);
    const double lightness = 6.0 + 88.0 * t;
    // From violet through red to yellow; degrees on the circle of hues.
    const double hue = (285.0 + 175.0 * t) * std::numbers::pi / 180.0;
    double chroma = 75.0;
    std::array<double, 3> linear{};
    // As colourful as a screen can be at this lightness.
    do {
        linear = linearRgb(lightness, chroma * std::cos(hue), chroma * std::sin(hue));
        chroma -= 1.0;
    } while (chroma >= 0.0 && !canBeShown(linear));
    return {byteOf(linear[0]), byteOf(linear[1]), byteOf(linear[2])};
}

std::string hexText(const Rgb& colour) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text = "#";
    for (const std::uint8_t part : {colour.red, colour.green, colour.blue}) {
        text += kDigits[part / 16];
        text += kDigits[part % 16];
    }
    return text;
}

}  // namespace ptmatch::tool
