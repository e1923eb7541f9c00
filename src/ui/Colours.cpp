#include "ui/Colours.h"

namespace ternvault {

namespace {

struct Shades {
    QRgb light;
    QRgb dark;
};

Shades shades(ColourRole role) {
    switch (role) {
    case ColourRole::text:
        return {0xff1d1d1f, 0xffececee};
    case ColourRole::secondary:
        return {0xff62646a, 0xffa6a8af};
    case ColourRole::accent:
        return {0xff1f6feb, 0xff2a6fe3};
    case ColourRole::onAccent:
        return {0xffffffff, 0xffffffff};
    case ColourRole::accentHovered:
        return {0xff1a62d3, 0xff2765d0};
    case ColourRole::accentPressed:
        return {0xff1554b8, 0xff2058bd};
    case ColourRole::tint:
        return {0xff1a62d3, 0xff7db0ff};
    case ColourRole::error:
        return {0xffc62828, 0xffff7b7b};
    case ColourRole::success:
        return {0xff197530, 0xff4fcb6c};
    case ColourRole::warning:
        return {0xffa94e00, 0xffffa84a};
    case ColourRole::window:
        return {0xfff5f5f7, 0xff1e1f22};
    case ColourRole::surface:
        return {0xfffcfcfd, 0xff27282c};
    case ColourRole::field:
        return {0xffffffff, 0xff1a1b1e};
    case ColourRole::border:
        return {0xffd5d6db, 0xff45474d};
    case ColourRole::button:
        return {0xffffffff, 0xff36383d};
    case ColourRole::buttonHovered:
        return {0xfff0f1f4, 0xff42444a};
    case ColourRole::disabledText:
        return {0xff9c9ea4, 0xff75777d};
    }
    return {};
}

} // namespace

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

QColor colour(ColourRole role, bool dark) {
    const Shades both = shades(role);
    return QColor::fromRgba(dark ? both.dark : both.light);
}

} // namespace ternvault
