#include "clock/Figures.h"
#include "tests/support/Table.h"

#include <algorithm>
#include <numeric>

using namespace Tavrel;

namespace
{

constexpr int Half = 8, Full = 16;

/// How many sixteenths of a pixel are lit, by its colour; -1 for any other colour.
int sixteenths(QRgb colour)
{
    static const QRgb Shades[] = {0xff000000, 0xff041000, 0xff082000, 0xff0c3000, 0xff114000,
                                  0xff155000, 0xff196000, 0xff1d7000, 0xff217f00, 0xff258f00,
                                  0xff299f00, 0xff2daf00, 0xff31bf00, 0xff36cf00, 0xff3adf00,
                                  0xff3eef00, 0xff42ff00};
    const auto *found = std::find(std::begin(Shades), std::end(Shades), colour);
    return found == std::end(Shades) ? -1 : static_cast<int>(found - Shades);
}

int lit(const QImage &image, int x, int y)
{
    return sixteenths(image.pixel(x, y));
}

/// The maximum of sixteenths in a part of the image.
int brightest(const QImage &image, const QRect &part)
{
    int most = 0;
    for (int y = part.top(); y <= part.bottom(); ++y)
        for (int x = part.left(); x <= part.right(); ++x)
            most = std::max(most, lit(image, x, y));
    return most;
}

/// For each digit, "row: columns" of the pixels that are at least half lit; the others in the row
/// are less.
const char *const Digits[] = {
    "1: 10-46; 4: 5-51; 12: 2-54; 22: 1-17 39-55; 76: 2-54; 80: 4-52; 84: 7-49; 86: 12-44",
    "9: 20-39; 31: 21-39",
    "2: 5-51; 34: 25-55; 50: 3-35",
    "5: 1-53; 34: 39-55; 35: 8-54; 43: 8-48; 52: 39-55; 86: 1-44",
    "30: 10-31 33-50; 48: 1-16 33-50; 67: 33-50",
    "22: 1-18; 35: 1-45; 64: 39-55; 83: 1-51; 86: 1-45",
    "4: 4-53; 22: 1-16; 36: 1-45; 50: 1-16 40-55; 80: 3-53; 84: 6-49; 86: 12-44",
    "50: 26-46",
    "1: 8-47; 4: 4-52; 36: 1-16 39-55; 42: 6-49; 50: 1-16 39-55; 80: 2-53; 84: 6-50; 86: 11-44",
    "1: 9-46; 4: 5-52; 22: 1-16 40-55; 50: 39-55; 83: 3-51",
};

/// For each digit, its total light in sixteenths of a pixel, which no single row shows.
constexpr int Areas[] = {58902, 28323, 57007, 56787, 46791, 58616, 59226, 40748, 62519, 59143};

} // namespace

class TestFigures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void edges_data()
    {
        Table<int, int, QString> row("digit", "y", "columns");
        for (int digit = 0; digit < 10; ++digit)
            for (const QString &sample : QString(Digits[digit]).split("; "))
                row(digit, sample.section(": ", 0, 0).toInt(), sample.section(": ", 1));
    }
    void edges()
    {
        QFETCH(const int, digit);
        QFETCH(const int, y);
        const QImage image = drawFigure(digit);
        // The outline runs through the middle of the outermost columns: these may be half lit
        // unnamed.
        QStringList runs;
        for (int x = 1, first = 0; x < FigureWidth; ++x) {
            const bool on = x < FigureWidth - 1 && lit(image, x, y) >= Half;
            if (on && first == 0)
                first = x;
            if (!on && first != 0) {
                runs << QString("%1-%2").arg(first).arg(x - 1);
                first = 0;
            }
        }
        QTEST(runs.join(' '), "columns");
    }

    void a_dense_display_has_more_pixels_of_the_same_size()
    {
        const QImage image = drawFigure(8, 2);
        QCOMPARE(image.size(), QSize(FigureWidth, FigureHeight) * 2);
        QCOMPARE(image.deviceIndependentSize(), QSizeF(FigureWidth, FigureHeight));
    }

    void extent_data()
    {
        Table<int, int> row("digit", "area");
        for (int digit = 0; digit < 10; ++digit)
            row(digit, Areas[digit]);
    }
    void extent()
    {
        QFETCH(const int, digit);
        const QImage image = drawFigure(digit);
        QCOMPARE(image.size(), QSize(57, 87));
        int sum = 0;
        for (int y = 0; y < FigureHeight; ++y)
            for (int x = 0; x < FigureWidth; ++x) {
                QVERIFY2(lit(image, x, y) >= 0, qPrintable(QString("(%1, %2)").arg(x).arg(y)));
                sum += lit(image, x, y);
            }
        QTEST(sum, "area");

        QCOMPARE(brightest(image, QRect(0, 0, FigureWidth, 1)), Half);
        QCOMPARE(brightest(image, QRect(0, FigureHeight - 1, FigureWidth, 1)), Half);
        const int side = digit == 1 ? 0 : Half;
        QCOMPARE(brightest(image, QRect(0, 0, 1, FigureHeight)), side);
        QCOMPARE(brightest(image, QRect(FigureWidth - 1, 0, 1, FigureHeight)), side);
        // The top edge is no longer than the row below it, and no stray pixels.
        for (int x = 0; x < FigureWidth; ++x)
            QVERIFY(lit(image, x, 0) <= lit(image, x, 1));
    }

    /// On a high-density display a figure is drawn again, in the same shades and the same place.
    void dense_displays()
    {
        const QImage plain = drawFigure(3), dense = drawFigure(3, 2);
        QCOMPARE(drawFigure(3, 1.5).size(), QSize(86, 131));
        QCOMPARE(dense.size(), 2 * plain.size());
        int uneven = 0;
        for (int y = 0; y < FigureHeight; ++y)
            for (int x = 0; x < FigureWidth; ++x) {
                const int cells[] = {lit(dense, 2 * x, 2 * y), lit(dense, 2 * x + 1, 2 * y),
                                     lit(dense, 2 * x, 2 * y + 1),
                                     lit(dense, 2 * x + 1, 2 * y + 1)};
                QVERIFY(std::ranges::min(cells) >= 0);
                QVERIFY(std::abs(std::reduce(std::begin(cells), std::end(cells)) / 4 -
                                 lit(plain, x, y)) <= 2);
                uneven += std::ranges::min(cells) < std::ranges::max(cells);
            }
        QVERIFY(uneven > 200);
    }

    void colon()
    {
        const QImage image = drawFigure(ColonFigure);
        const QRect upper(QPoint(16, 31), QPoint(39, 51)), lower(QPoint(16, 62), QPoint(39, 84));
        const QMargins ring(1, 1, 1, 1);
        for (int y = 0; y < FigureHeight; ++y)
            for (int x = 0; x < FigureWidth; ++x) {
                const int sixteenth = lit(image, x, y);
                if (upper.contains(x, y) || lower.contains(x, y))
                    QCOMPARE(sixteenth, Full);
                else if ((upper + ring).contains(x, y) || (lower + ring).contains(x, y))
                    QVERIFY(sixteenth > 0 && sixteenth < Half);
                else
                    QCOMPARE(sixteenth, 0);
            }
    }
};

QTEST_GUILESS_MAIN(TestFigures)
#include "tst_figures.moc"
