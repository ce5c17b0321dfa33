#pragma once

#include <QWidget>

namespace Tavrel
{

inline constexpr int TwipsPerPixel = 15;

/// A length in twips, rounded to the nearest logical pixel.
constexpr int pixels(int twips)
{
    return (twips + TwipsPerPixel / 2) / TwipsPerPixel;
}

/// The position and size of a control in its container, in twips.
struct Placement {
    int Left;
    int Top;
    int Width;
    int Height;
};

/// Moves and resizes a control, to the nearest pixel.
inline void place(QWidget &control, const Placement &placement)
{
    control.setGeometry(pixels(placement.Left), pixels(placement.Top), pixels(placement.Width),
                        pixels(placement.Height));
}

} // namespace Tavrel
