#include "clock/Figures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <iterator>
#include <span>
#include <vector>

namespace Tavrel
{

namespace
{

/// A point on an edge, in pixels from the top left corner of the figure.
struct Knot {
    double y, x;
};

/// One side of a band: x as a function of y, a smooth cubic through the knots that never overshoots
/// them. So collinear knots give a straight line, and two knots with the same x a vertical that the
/// curve flows into. Where the edge turns back it has a corner. Above its first and below its last
/// knot it is vertical.
class Edge
{
public:
    constexpr Edge(double x) : Edge{{0, x}} {}
    constexpr Edge(std::initializer_list<Knot> knots) : m_last(knots.size() - 1)
    {
        std::copy(knots.begin(), knots.end(), m_knots.begin());
    }

    constexpr Edge mirrored() const
    {
        Edge other = *this;
        for (Knot &knot : other.m_knots)
            knot.x = FigureWidth - knot.x;
        return other;
    }

    double at(double y) const
    {
        if (y <= m_knots[0].y)
            return m_knots[0].x;
        if (y >= m_knots[m_last].y)
            return m_knots[m_last].x;
        std::size_t piece = 0;
        while (y > m_knots[piece + 1].y)
            ++piece;
        const Knot &from = m_knots[piece], &to = m_knots[piece + 1];
        const double height = to.y - from.y, t = (y - from.y) / height, u = 1 - t;
        return u * u * ((1 + 2 * t) * from.x + t * height * slope(piece, piece)) +
               t * t * ((1 + 2 * u) * to.x - u * height * slope(piece + 1, piece));
    }

private:
    /// The slope of the straight line between the two knots of a piece.
    double secant(std::size_t piece) const
    {
        return (m_knots[piece + 1].x - m_knots[piece].x) /
               (m_knots[piece + 1].y - m_knots[piece].y);
    }

    /// The slope of a piece at one of its knots. Where the edge does not turn back, it is the
    /// weighted harmonic mean of the two secants (Fritsch and Butland), which prevents overshoot.
    double slope(std::size_t knot, std::size_t piece) const
    {
        if (knot == 0 || knot == m_last)
            return secant(piece);
        const double before = secant(knot - 1), after = secant(knot);
        if (before * after < 0)
            return secant(piece);
        if (before * after == 0)
            return 0;
        const double above = m_knots[knot].y - m_knots[knot - 1].y;
        const double below = m_knots[knot + 1].y - m_knots[knot].y;
        return 3 * (above + below) / ((above + 2 * below) / before + (2 * above + below) / after);
    }

    std::array<Knot, 24> m_knots{};
    std::size_t m_last;
};

enum class Ink { Off, On };

/// The area between two heights and two edges.
struct Band {
    Ink ink;
    double top, bottom;
    Edge left, right;
};

using enum Ink;

// The outlines run through the middle of the outermost rows and columns, hence the 0.5, 56.5
// and 86.5. The knots of the curves are set so that the curves bend evenly.

constexpr Edge ZeroLeft = {{0.5, 13.95}, {1.5, 10},    {2.5, 7.85}, {4.5, 5.45},  {8.5, 2.85},
                           {12.5, 1.55}, {19, 0.5},    {69, 0.5},   {76.5, 1.95}, {80.5, 3.65},
                           {83, 5.6},    {84.5, 7.55}, {85.5, 9.6}, {86.5, 12.45}};
constexpr Band Zero[] = {
    {On, 0.5, 86.5, ZeroLeft, ZeroLeft.mirrored()},
    {Off, 22, 66, 18, 39},
};

constexpr Band One[] = {
    {On, 0.5, 31, {{0.5, 29.4}, {18.9, 11}}, 40},
    {On, 31, 86.5, 21, 40},
};

constexpr Edge TwoLeft = {{28, 39},     {38.5, 16.7}, {42.5, 9.45}, {46.5, 5.05},
                          {50.5, 2.55}, {54.5, 1.15}, {59, 0.5}};
constexpr Edge TwoRight = {{0.5, 45.2},   {1.5, 49.7},  {2.5, 51.6}, {4.5, 53.55},  {8.5, 55.55},
                           {12.5, 56.45}, {13.5, 56.5}, {31, 56.5},  {34.5, 56.15}, {38.5, 54.8},
                           {42.5, 51.5},  {46.5, 44.2}, {59, 19}};
constexpr Band Two[] = {
    {On, 0.5, 23, 5, TwoRight},
    {On, 23, 64, TwoLeft, TwoRight},
    {On, 64, 86.5, 0.5, 56.5},
};

constexpr Edge ThreeRight = {
    {0.5, 43.45},  {1.5, 47.95}, {2.5, 50.3},   {4.5, 52.75},  {8.5, 55.3},   {12.5, 56.45},
    {13.5, 56.5},  {31, 56.5},   {35.5, 55.5},  {38.5, 54.05}, {41.5, 51.45}, {43.5, 49.15},
    {46.5, 51.95}, {50.5, 54.8}, {56, 56.5},    {73, 56.5},    {76.5, 56.05}, {80.5, 54.5},
    {83, 52.65},   {84.5, 50.7}, {85.5, 48.45}, {86.5, 44.35}};
constexpr Band Three[] = {
    {On, 0.5, 22, 0.5, ThreeRight},                                  // top bar
    {On, 22, 35, 39, ThreeRight},   {On, 35, 52, 8, ThreeRight},     // middle bar
    {On, 52, 65, 39, ThreeRight},   {On, 65, 86.5, 0.5, ThreeRight}, // foot bar
};

constexpr Band Four[] = {
    {On, 0.5, 49, {{0.5, 36.05}, {41.1, 0.5}}, 51}, // arm and stem
    {Off, 29.8, 49, {{29.8, 33}, {49, 16.1}}, 33},
    {On, 49, 67, 0.5, 56.5}, // cross bar
    {On, 67, 86.5, 33, 51},
};

constexpr Edge FiveRight = {{35, 42},      {35.5, 46.15}, {36.5, 49.85}, {38.5, 53.1},
                            {40.5, 54.6},  {44.5, 56.05}, {48, 56.5},    {71.5, 56.5},
                            {76.5, 55.75}, {80.5, 54.2},  {83, 52.4},    {84.5, 50.6},
                            {85.5, 48.6},  {86.5, 45.5}};
constexpr Band Five[] = {
    {On, 0.5, 22, 0.5, 54},                                      // top bar
    {On, 22, 35, 0.5, 19},       {On, 35, 51, 0.5, FiveRight},   // bowl
    {On, 51, 65, 39, FiveRight}, {On, 65, 86.5, 0.5, FiveRight}, // foot bar
};

constexpr Edge SixLeft = {{0.5, 13.6}, {1.5, 9},     {2.5, 6.75}, {4.5, 4.4},   {8.5, 1.9},
                          {12.5, 0.8}, {16, 0.5},    {71, 0.5},   {76.5, 1.35}, {80.5, 2.9},
                          {83, 4.7},   {84.5, 6.55}, {85.5, 8.7}, {86.5, 12.6}};
constexpr Edge SixRight = {{36, 43.9},    {36.5, 46.3}, {37.5, 50.2},  {38.5, 52.05}, {40.5, 53.95},
                           {44.5, 55.75}, {49, 56.5},   {69, 56.5},    {76.5, 55.05}, {80.5, 53.5},
                           {83, 51.8},    {84.5, 50.1}, {85.5, 48.15}, {86.5, 44.55}};
constexpr Band Six[] = {
    {On, 0.5, 22, SixLeft, 54},
    {On, 22, 36, SixLeft, 17},
    {On, 36, 86.5, SixLeft, SixRight},
    {Off, 50, 65, 17, 40},
};

constexpr Band Seven[] = {
    {On, 0.5, 22, 0.5, 56.5},
    {On, 22, 86.5, {{22, 37}, {86.5, 11.85}}, {{23.9, 56.5}, {86.5, 33.3}}},
};

constexpr Edge EightLeft = {{0.5, 12.9},  {1.5, 8.3},   {2.5, 6.05},  {4.5, 3.7},   {8.5, 1.4},
                            {12.5, 0.55}, {14, 0.5},    {33, 0.5},    {37.5, 1.7},  {40.5, 3.7},
                            {42.5, 6.15}, {43.7, 8.3},  {44.5, 7},    {46.5, 4.25}, {50.5, 1.25},
                            {54, 0.5},    {71, 0.5},    {76.5, 1.15}, {80.5, 2.45}, {83, 4},
                            {84.5, 5.65}, {85.5, 7.65}, {86.5, 11.6}};
constexpr Edge EightRight = {
    {0.5, 44},     {1.5, 48.5},  {2.5, 50.55},  {4.5, 52.7},  {8.5, 55.05},  {12.5, 56.15},
    {16, 56.5},    {33, 56.5},   {37.5, 55.05}, {40.5, 52.9}, {42.5, 50.45}, {43.7, 48.6},
    {44.5, 49.85}, {46.5, 52.5}, {50.5, 55.6},  {54, 56.5},   {71.5, 56.5},  {76.5, 55.85},
    {80.5, 54.45}, {83, 52.8},   {84.5, 51},    {85.5, 48.8}, {86.5, 44.4}};
constexpr Band Eight[] = {
    {On, 0.5, 86.5, EightLeft, EightRight},
    {Off, 22, 37, 17, 39},
    {Off, 50, 65, 17, 39},
};

constexpr Edge NineLeft = {{0.5, 13.1},  {1.5, 9.05},  {2.5, 6.9},  {4.5, 4.55}, {8.5, 2},
                           {12.5, 0.85}, {16, 0.5},    {39, 0.5},   {42.5, 1},   {44.5, 1.65},
                           {46.5, 2.9},  {48.5, 5.35}, {49.5, 7.9}, {50, 10.7}};
constexpr Edge NineRight = {{0.5, 40.25}, {1.5, 47.3},  {2.5, 50.1},  {4.5, 52.65},  {8.5, 55.1},
                            {12.5, 56.2}, {16, 56.5},   {71.5, 56.5}, {76.5, 55.75}, {80.5, 54.2},
                            {83, 52.4},   {84.5, 50.6}, {85.5, 48.6}, {86.5, 45.5}};
constexpr Band Nine[] = {
    {On, 0.5, 50, NineLeft, NineRight},
    {On, 50, 65, 39, NineRight},
    {On, 65, 86.5, 3, NineRight},
    {Off, 22, 37, 17, 39.75}, // the stem beside it begins a quarter pixel early
};

constexpr Band Colon[] = {
    {On, 30.75, 52.25, 15.75, 40.25},
    {On, 61.75, 85.25, 15.75, 40.25},
};

/// Indexed by figure. The bands of a figure are painted over each other in this order.
constexpr std::span<const Band> Figures[] = {Zero, One,   Two,   Three, Four, Five,
                                             Six,  Seven, Eight, Nine,  Colon};

/// A device pixel is sampled at the centres of its SamplesAcross x SamplesAcross cells.
constexpr int SamplesAcross = 4;

/// Indexed by the number of lit samples. A table, because their rounding follows no single rule.
constexpr QRgb Shades[] = {
    qRgb(0, 0, 0),    qRgb(4, 16, 0),   qRgb(8, 32, 0),   qRgb(12, 48, 0),  qRgb(17, 64, 0),
    qRgb(21, 80, 0),  qRgb(25, 96, 0),  qRgb(29, 112, 0), qRgb(33, 127, 0), qRgb(37, 143, 0),
    qRgb(41, 159, 0), qRgb(45, 175, 0), qRgb(49, 191, 0), qRgb(54, 207, 0), qRgb(58, 223, 0),
    qRgb(62, 239, 0), qRgb(66, 255, 0),
};
static_assert(std::size(Shades) == SamplesAcross * SamplesAcross + 1);

} // namespace

QImage drawFigure(int figure, double pixelRatio)
{
    const double density = SamplesAcross * pixelRatio; // in samples per pixel
    const auto firstSample = [&](double x) {           // whose centre is not left of x
        return static_cast<int>(std::ceil(x * density - 0.5));
    };

    QImage image(static_cast<int>(std::ceil(FigureWidth * pixelRatio)),
                 static_cast<int>(std::ceil(FigureHeight * pixelRatio)), QImage::Format_RGB32);
    image.setDevicePixelRatio(pixelRatio);
    const auto width = static_cast<std::size_t>(image.width());
    for (int row = 0; row < image.height(); ++row) {
        std::vector<int> lit(width);
        for (int line = row * SamplesAcross; line < (row + 1) * SamplesAcross; ++line) {
            const double y = (line + 0.5) / density;
            std::vector<bool> samples(width * SamplesAcross);
            for (const Band &band : Figures[figure])
                if (y >= band.top && y < band.bottom)
                    std::fill(samples.begin() + firstSample(band.left.at(y)),
                              samples.begin() + firstSample(band.right.at(y)), band.ink == Ink::On);
            for (std::size_t i = 0; i < samples.size(); ++i)
                lit[i / SamplesAcross] += samples[i];
        }
        for (std::size_t column = 0; column < width; ++column)
            image.setPixel(static_cast<int>(column), row, Shades[lit[column]]);
    }
    return image;
}

} // namespace Tavrel
