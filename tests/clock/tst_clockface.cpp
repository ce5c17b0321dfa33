#include "clock/AutoSwitch.h"
#include "clock/ClockFace.h"
#include "clock/Figures.h"
#include "platform/text/DatesAndTimes.h"
#include "platform/windows/Appearance.h"
#include "tests/support/PaintCounter.h"
#include "tests/support/Table.h"

#include <QAccessible>

using namespace Tavrel;

static QImage shown(QWidget *picture)
{
    return picture->grab().toImage();
}

static bool hasPixel(QWidget *picture, const QColor &colour)
{
    const QImage image = shown(picture);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) == colour)
                return true;
        }
    }
    return false;
}

class TestClockFace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        window = std::make_unique<QWidget>();
        window->setFixedSize(615, 228);
        face = std::make_unique<ClockFace>(*window);
        window->show();
    }
    void cleanup()
    {
        window.reset();
        face.reset();
    }

    void places_and_stacking()
    {
        QCOMPARE(face->pic(6)->geometry(), QRect(520, 16, 73, 105));
        QCOMPARE(face->img(60)->geometry(), QRect(8, 8, 57, 87));
        QCOMPARE(face->optEvent(1)->geometry(), QRect(168, 16, 145, 57));
        const auto names = [](const QObject *container) {
            QStringList children;
            for (const QObject *child : container->children())
                children += child->objectName();
            return children;
        };
        QCOMPARE(names(window.get()),
                 QStringList({"pic(0)", "pic(1)", "pic(2)", "pic(3)", "pic(4)", "Frame1", "pic(5)",
                              "pic(6)", "pic(7)", "txtDate", "cmdCtrl(0)", "cmdCtrl(1)"}));
        for (int k = 0; k < 6; ++k) {
            QStringList images;
            for (int i = 0; i < 10; ++i) {
                const int digit = i == 9 ? 9 : k < 2 ? 8 - i : i;
                images += QStringLiteral("img(%1)").arg(k * 10 + digit);
            }
            QCOMPARE(names(face->img(k * 10)->parent()), images);
        }
    }

    void figures_are_drawn_for_the_density_of_the_screen()
    {
        const QImage digit = shown(face->img(8)).convertToFormat(QImage::Format_RGB32);
        QVERIFY(digit ==
                drawFigure(8, std::max(1, qEnvironmentVariableIntValue("QT_SCALE_FACTOR"))));
    }

    void digits_come_to_the_front()
    {
        const QImage colon = shown(face->pic(4));
        const QImage nine = shown(face->pic(6));
        for (const int picture : {0, 1, 2, 3, 5})
            QCOMPARE(shown(face->pic(picture)), nine);
        QVERIFY(colon != nine);
        QCOMPARE(shown(face->pic(7)), colon);

        for (int d = 0; d < 10; ++d) {
            face->img(40 + d)->ZOrder();
            face->img(20 + d)->ZOrder();
            QCOMPARE(shown(face->pic(5)), shown(face->pic(2)));
            QCOMPARE(shown(face->pic(5)) == nine, d == 9);
        }
        QCOMPARE(shown(face->pic(6)), nine);
    }

    void a_digit_that_did_not_change_is_not_painted()
    {
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        face->img(53)->ZOrder();
        QCoreApplication::processEvents();
        PaintCounter counter;
        for (int d = 0; d < 10; ++d)
            face->img(50 + d)->installEventFilter(&counter);
        face->img(53)->ZOrder();
        QCoreApplication::processEvents();
        QCOMPARE(counter.count, 0);
        face->img(54)->ZOrder();
        QTRY_COMPARE(counter.count, 1);
    }

    void selecting()
    {
        OptionButton *in = face->optEvent(0);
        OptionButton *out = face->optEvent(1);
        const auto looksSelected = [](OptionButton *one, OptionButton *other) {
            const QColor yellow(255, 255, 0);
            const QColor blue(0, 0, 192);
            QVERIFY(one->Value() && !other->Value());
            QCOMPARE(one->grab().toImage().pixelColor(20, 8), yellow);
            QCOMPARE(other->grab().toImage().pixelColor(20, 8), blue);
            QVERIFY(hasPixel(one, blue)); // of the letters
            QVERIFY(hasPixel(other, QColor(255, 255, 255)));
            const auto edge = [](QWidget *button) {
                return button->grab().toImage().pixelColor(0, 20).lightness();
            };
            QVERIFY(edge(one) < yellow.lightness() && edge(other) > blue.lightness()); // it is down
        };
        looksSelected(in, out);
        QVERIFY(in->font().bold() && out->font().bold()); // until one is selected

        for (int clicks = 0; clicks < 2; ++clicks) {
            QTest::mouseClick(out, Qt::LeftButton);
            looksSelected(out, in);
            QVERIFY(out->font().bold() && !in->font().bold());
        }
        in->Value(true);
        looksSelected(in, out);
        QVERIFY(in->font().bold() && !out->font().bold());
    }

    void the_date_is_cyan_on_blue_in_a_black_window()
    {
        face->txtDate->Text("8");
        const QRect box = face->txtDate->geometry();
        const QImage image = shown(window.get());
        QVERIFY(hasPixel(face->txtDate, QColor(0, 255, 255)));
        QCOMPARE(image.pixelColor(box.right() - 5, box.center().y()), QColor(0, 0, 192));
        QCOMPARE(image.pixelColor(box.right() + 2, box.center().y()), QColor(0, 0, 0));
    }

    void text_boxes_data()
    {
        Table<TextBox::Overlong, QString, bool> row("overlong", "text", "fits");
        row("short", TextBox::Overlong::IsSqueezed, "May", true);
        row("from right to left", TextBox::Overlong::IsSqueezed, "\u05d0\u05d1", true);
        row("long date", TextBox::Overlong::IsSqueezed, "Wednesday, 23 September 2026", true);
        row("long badge", TextBox::Overlong::ShowsBeginning, QString(60, u'7'), false);
    }
    void text_boxes()
    {
        QFETCH(const TextBox::Overlong, overlong);
        QFETCH(const QString, text);
        TextBox box(overlong, nullptr);
        box.setFont(windowFont(12));
        box.resize(200, 30);
        box.Text("another");
        box.selectAll();
        box.Text("another"); // as the tick sets it: the user's selection stays
        QCOMPARE(box.selectedText(), "another");
        box.Text(text);
        QCOMPARE(box.selectedText(), "");
        QCOMPARE(box.cursorPosition(), 0);
        QTEST(box.fontMetrics().horizontalAdvance(text) <= 200 - 7, "fits");

        // The text starts at the left edge.
        const QRect leftEdge(3, 3, 12, 24);
        const QImage written = shown(&box).copy(leftEdge);
        box.Text("");
        QVERIFY(written != shown(&box).copy(leftEdge));
    }

    void a_screen_reader_is_given_the_time()
    {
        const auto name = [](QWidget *control) {
            return QAccessible::queryAccessibleInterface(control)->text(QAccessible::Name);
        };
        face->readOut("090507");
        QCOMPARE(name(face->pic(0)), "09:05:07");
        QCOMPARE(name(face->txtDate), "Date");
    }

    void keyboard()
    {
        QCOMPARE(face->cmdCtrl(0)->palette().window(), QApplication::palette().window());
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        face->optEvent(0)->setFocus();
        QTest::keyClick(face->optEvent(0), Qt::Key_Right);
        QVERIFY(face->optEvent(1)->Value() && face->optEvent(1)->hasFocus());
        const QRect focusLine(5, 5, 20, 1);
        const QList<QWidget *> order{face->txtDate, face->cmdCtrl(0), face->cmdCtrl(1),
                                     face->optEvent(1)};
        for (QWidget *next : order) {
            const QImage without = next->grab(focusLine).toImage();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QCOMPARE(QApplication::focusWidget(), next);
            QVERIFY(next == face->txtDate || next->grab(focusLine).toImage() != without);
        }
        QTest::keyClicks(face->txtDate, QStringLiteral("typed"));
        QVERIFY(face->txtDate->text().isEmpty());
    }

    /// Which of the two the time of day selects.
    void autoSwitch_data()
    {
        Table<QString, QString, QString, int> row("clockIn", "clockOut", "now", "event");
        row("06:00:00", "12:00:00", "00:00:00", 1);
        row("06:00:00", "12:00:00", "05:59:59", 1);
        row("06:00:00", "12:00:00", "06:00:00", 0);
        row("06:00:00", "12:00:00", "11:59:59", 0);
        row("06:00:00", "12:00:00", "12:00:00", 1);
        row("22:00:00", "06:00:00", "05:59:59", 0);
        row("22:00:00", "06:00:00", "06:00:00", 1);
        row("22:00:00", "06:00:00", "21:59:59", 1);
        row("22:00:00", "06:00:00", "22:00:00", 0);
        row("00:00:00", "12:00:00", "00:00:00", 0);
        row("12:00:00", "00:00:00", "00:00:00", 1);
        row("08:00:00", "08:00:00", "07:59:59", 0);
        row("08:00:00", "08:00:00", "08:00:00", 0);
        row("2026-11-22 06:00:00", "12:00:00", "06:00:00", 0); // later than any time of day
        row("2026-11-22 06:00:00", "12:00:00", "12:00:00", 1);
    }
    void autoSwitch()
    {
        QFETCH(QString, clockIn);
        QFETCH(QString, clockOut);
        QFETCH(QString, now);
        QTEST(wantedEvent(timeText(clockIn), timeText(clockOut), timeText(now)), "event");
    }

private:
    std::unique_ptr<QWidget> window;
    std::unique_ptr<ClockFace> face;
};

QTEST_MAIN(TestClockFace)
#include "tst_clockface.moc"
