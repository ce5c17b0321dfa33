#include "clock/AutoSwitch.h"
#include "clock/ClockFace.h"
#include "platform/RegionalFormat.h"
#include "tests/doubles/Table.h"

static QImage shown(QWidget *picture)
{
    return picture->grab().toImage();
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

    void places_data()
    {
        Table<QRect> row("place");
        row("pic(0)", {16, 16, 73, 105});
        row("pic(1)", {88, 16, 73, 105});
        row("pic(4)", {160, 16, 73, 105});
        row("pic(2)", {232, 16, 73, 105});
        row("pic(3)", {304, 16, 73, 105});
        row("pic(7)", {376, 16, 73, 105});
        row("pic(5)", {448, 16, 73, 105});
        row("pic(6)", {520, 16, 73, 105});
        row("img(0)", {8, 8, 57, 87});
        row("img(60)", {8, 8, 57, 87});
        row("Frame1", {8, 128, 329, 89});
        row("optEvent(0)", {16, 16, 145, 57});
        row("optEvent(1)", {168, 16, 145, 57});
        row("txtDate", {352, 136, 257, 33});
        row("cmdCtrl(0)", {352, 184, 121, 33});
        row("cmdCtrl(1)", {488, 184, 121, 33});
    }
    void places()
    {
        auto *control = window->findChild<QWidget *>(QTest::currentDataTag());
        QVERIFY(control);
        QTEST(control->geometry(), "place");
    }

    void stacking()
    {
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
        struct PaintCounter : QObject {
            bool eventFilter(QObject *, QEvent *event) override
            {
                paints += event->type() == QEvent::Paint;
                return false;
            }
            int paints = 0;
        } counter;
        for (int d = 0; d < 10; ++d)
            face->img(50 + d)->installEventFilter(&counter);
        face->img(53)->ZOrder();
        QCoreApplication::processEvents();
        QCOMPARE(counter.paints, 0);
        face->img(54)->ZOrder();
        QTRY_COMPARE(counter.paints, 1);
    }

    void selecting()
    {
        OptionButton *in = face->optEvent(0);
        OptionButton *out = face->optEvent(1);
        const auto looksSelected = [](OptionButton *one, OptionButton *other) {
            const QColor yellow(255, 255, 0);
            const QColor blue(0, 0, 192);
            QVERIFY(one->Value() && !other->Value());
            QCOMPARE(one->ForeColor(), blue);
            QCOMPARE(other->ForeColor(), QColor(255, 255, 255));
            QCOMPARE(one->grab().toImage().pixelColor(20, 8), yellow);
            QCOMPARE(other->grab().toImage().pixelColor(20, 8), blue);
        };
        looksSelected(in, out);
        QVERIFY(in->font().bold() && out->font().bold()); // as long as nobody has selected

        for (int clicks = 0; clicks < 2; ++clicks) {
            QTest::mouseClick(out, Qt::LeftButton);
            looksSelected(out, in);
            QVERIFY(out->font().bold() && !in->font().bold());
        }
        in->Value(true);
        looksSelected(in, out);
        QVERIFY(in->font().bold() && !out->font().bold());
    }

    void keyboard()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        face->optEvent(0)->setFocus();
        QTest::keyClick(face->optEvent(0), Qt::Key_Right);
        QVERIFY(face->optEvent(1)->Value() && face->optEvent(1)->hasFocus());
        const QList<QWidget *> order{face->txtDate, face->cmdCtrl(0), face->cmdCtrl(1),
                                     face->optEvent(1)};
        for (QWidget *next : order) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QCOMPARE(QApplication::focusWidget(), next);
        }
        QTest::keyClicks(face->txtDate, QStringLiteral("typed"));
        QVERIFY(face->txtDate->Text().isEmpty());
    }

    /// Which of the two is to be selected by itself at a time of day.
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
