#include "platform/windows/DTPicker.h"
#include "tests/support/Table.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>

/// A picker that shows 08:15:45 in the given format, in a dialog with a default button.
class Field
{
public:
    explicit Field(const QString &format)
    {
        picker.setLocale(QLocale(format));
        picker.setLayoutDirection(picker.locale().textDirection());
        picker.setGeometry(0, 40, WideEnough, 24);
        picker.Value("08:15:45");
        ok.setDefault(true);
        QObject::connect(&ok, &QPushButton::clicked, &window, &QDialog::accept);
        window.show();
        ok.setFocus();
    }

    /// Where the n-th number or word of the text stands in the line.
    QPoint placeOf(int number)
    {
        static const QRegularExpression words(QStringLiteral("\\d+|\\p{L}+"),
                                              QRegularExpression::UseUnicodePropertiesOption);
        auto found = words.globalMatch(picker.text());
        while (number-- > 0)
            found.next();
        QPoint place(0, line.height() / 2);
        while (place.x() < line.width() &&
               line.cursorPositionAt(place) != found.peekNext().capturedStart() + 1)
            ++place.rx();
        return place;
    }

    /// Tab or Backtab into the field, when `where` is ⇥ or ⇤, with another group current than the
    /// one to be entered; else a click on that number or word.
    void enter(QChar where)
    {
        if (where.isDigit())
            return QTest::mouseClick(&line, Qt::LeftButton, {}, placeOf(where.digitValue()));
        press(u'⇲');
        picker.setFocus(where == u'⇥' ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    }

    void press(QChar key)
    {
        static const QHash<QChar, QKeyCombination> named{
            {u'↑', Qt::Key_Up},           {u'↓', Qt::Key_Down},
            {u'←', Qt::Key_Left},         {u'→', Qt::Key_Right},
            {u'⇱', Qt::Key_Home},         {u'⇲', Qt::Key_End},
            {u'⌫', Qt::Key_Backspace},    {u'⌦', Qt::Key_Delete},
            {u'∀', Qt::CTRL | Qt::Key_A}, {u'✂', Qt::CTRL | Qt::Key_X},
            {u'↶', Qt::CTRL | Qt::Key_Z}, {u'✓', Qt::CTRL | Qt::Key_V},
        };
        const QKeyCombination combination = named.value(key, Qt::Key_unknown);
        const QString text = named.contains(key) ? QString() : QString(key);
        QTest::sendKeyEvent(QTest::Click, &picker, combination.key(), text,
                            combination.keyboardModifiers());
    }

    void paste(const QString &text)
    {
        QApplication::clipboard()->setText(text);
        press(u'✓');
    }

    /// The time of the value; "torn" where the text shows another one.
    QString time()
    {
        const QTime shown = parseDateAndTime(picker.text(), picker.locale()).time;
        return shown == picker.Value() ? shown.toString(u"HH:mm:ss") : QStringLiteral("torn");
    }

    static constexpr int WideEnough = 500;
    QDialog window;
    DTPicker picker{&window};
    QLineEdit &line = *picker.findChild<QLineEdit *>();
    QPushButton ok{&window};
};

class TestDTPicker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// What comes out of a field that is entered at `where`, by Enter too, in each of the formats.
    void typing_data()
    {
        Table<QString, QString, QString, QString> row("formats", "where", "keys", "time");
        const QString all("C de_DE fi_FI en_US ar_EG");
        row(all, "0", "093015", "09:30:15");
        row(all, "0", "0930", "09:30:45");
        row("C de_DE en_US", "0", "∀✂✓", "08:15:45"); // what was cut can be pasted
        row(all, "0", "↑081530", "08:15:30");
        row(all, "0", "930", "09:30:45");
        row(all, "0", "→44", "08:44:45");
        row(all, "0", "7:30", "07:30:45");
        row(all, "0", "1.30", "01:30:45");
        row(all, "0", "07: 3", "07:15:03"); // the second one is a step
        row(all, "0", "73:5", "07:03:05");
        row(all, "1", "5", "08:05:45");
        row(all, "1", "←22", "22:15:45");
        row(all, "1", "62", "08:06:02");
        row(all, "2", "7", "08:15:07");
        row(all, "⇥", "09", "09:15:45");
        row(all, "⇤", "7:30", "07:30:45");
        row(all, "0", "19", "19:15:45");
        row(all, "0", "0030", "00:30:45");
        row(all, "0", "24:00", "02:00:45"); // 4 is not taken, and the group waits on
        row(all, "1", "xyz", "08:15:45");
        row(all, "1", "3x0", "08:30:45");
        row(all, "2", "↓⇱↓", "07:15:44");
        row(all, "1", "↑←←↑", "09:16:45");
        row(all, "1", "3↑5", "08:05:45");
        row(all, "0", "09⌫08", "08:15:45");
        row(all, "1", "⌦", "08:00:45");
        row(all, "1", "3⌫1", "08:01:45");
        row(all, "2", "✂", "08:15:00");
        row(all, "1", "∀⌦", "00:00:00");
        row(all, "1", "∀1130", "11:30:45");
        row(all, "1", "30↶", "08:30:45");
        row(all, "0", "٠٧٣٠", "07:30:45");
        row("C de_DE", "0", "⇲23", "08:15:23");
        row("C de_DE", "2", "235", "08:15:05");
        row("C de_DE", "2", "23⌫", "08:15:00");
        row("C de_DE", "1", "⇱00", "00:15:45");
        row("en_US", "3", "P", "20:15:45");
        row("en_US ar_EG", "3", "↑", "20:15:45");
        row("en_US ar_EG", "0", "⇲↓", "20:15:45");
        row("en_US ar_EG", "3", "P←←←09", "21:15:45"); // stays in its half
        row("en_US ar_EG", "3", "p←←←00", "00:15:45");
        row("en_US ar_EG", "3", "⌫9x", "08:15:45");
        row("en_US ar_EG", "0", "⌦", "00:15:45");
        row("en_US ar_EG", "0", "12", "00:15:45");
        row("en_US", "0", "7:30:00 pa", "07:30:00");
        row("ar_EG", "3", "م", "20:15:45");
        row("ko_KR", "0", "후9:30", "21:30:45"); // the half comes first
        row("ko_KR", "⇥", "930", "09:30:45");
        row("fr_CA", "0", "1h5", "01:05:45");
        row("fr_CA", "0", "1m5", "15:15:45");
    }
    void typing()
    {
        QFETCH(QString, formats);
        QFETCH(QString, where);
        QFETCH(QString, keys);
        for (const QString &format : formats.split(' ')) {
            Field field(format);
            QVERIFY(QTest::qWaitForWindowActive(&field.window));
            field.enter(where[0]);
            for (const QChar key : keys) {
                field.press(key);
                QVERIFY2(field.time() != "torn", qPrintable(format + ' ' + field.picker.text()));
            }
            QTEST(field.time(), "time");
            QTest::keyClick(&field.picker, Qt::Key_Return);
            QCOMPARE(field.window.result(), int(QDialog::Accepted));
            QTEST(field.time(), "time");
        }
    }

    void pasting_data()
    {
        const Table<QString, QString> row("pasted", "time");
        row("10:11:12", "10:11:12");
        row("10.11.12", "10:11:12");
        row("10/11/12", "10:11:12");
        row(" 7.30\n", "07:30:00");
        row("7h30", "07:30:00");
        row("730", "07:30:00");
        row("073015", "07:30:15");
        row("٧:٣٠", "07:30:00");
        row("5:30pm", "17:30:00");
        row("5:30 PM", "17:30:00");
        row("5 Pm", "17:00:00");
        row("12 a.m.", "00:00:00");
        for (const char *none : {"", "x", "COM1", "5 people", "25:00", "10:60", "13 pm", "0 am",
                                 "1 2 3 4", "22.11.2026", "2026-11-22", "12 am - 5 pm"})
            row(none, "08:15:45");
    }
    void pasting()
    {
        QFETCH(QString, pasted);
        for (const char *format : {"C", "de_DE", "en_US", "ar_EG"}) {
            Field field(format);
            field.paste(pasted);
            QTEST(field.time(), "time");

            QMimeData dropped;
            dropped.setText(pasted);
            QDragEnterEvent arrival({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, {});
            QDropEvent drop({5, 5}, Qt::CopyAction | Qt::MoveAction, &dropped, Qt::LeftButton,
                            Qt::ShiftModifier); // which asks for the text to be moved
            field.picker.Value("08:15:45");
            QApplication::sendEvent(&field.picker, &arrival);
            QApplication::sendEvent(&field.picker, &drop);
            QTEST(field.time(), "time");
            QCOMPARE(drop.dropAction(), Qt::CopyAction);
        }
    }

    /// What an input method composes is typed when it is done; nothing else gets at the text.
    void other_ways_in()
    {
        Field field("en_US");
        QInputMethodEvent commit("7:3", {});
        commit.setCommitString("7:30");
        QApplication::sendEvent(&field.picker, &commit);
        QCOMPARE(field.time(), "07:30:45");
        QFocusEvent comingBack(QEvent::FocusIn, Qt::ActiveWindowFocusReason);
        QApplication::sendEvent(&field.picker, &comingBack);
        field.press(u'↑');
        field.press(u'↑'); // the seconds still
        QCOMPARE(field.time(), "07:30:47");
        field.press(u'↓');
        field.press(u'↓');
        field.line.clear();
        field.line.setText("10:11:12");
        QCOMPARE(field.time(), "07:30:45");
        QCOMPARE(QAccessible::queryAccessibleInterface(&field.picker)->text(QAccessible::Value),
                 "7:30:45 AM");

        field.picker.setReadOnly(true);
        field.paste("10:11:12");
        QApplication::sendEvent(&field.picker, &commit);
        for (const QChar key : QStringLiteral("9↑⌦✂→∀⌫"))
            field.press(key);
        QCOMPARE(field.time(), "07:30:45");
    }

    void the_wheel_steps_the_group_under_it()
    {
        Field field("C");
        field.picker.stepDown(); // as the spin buttons do: the hours
        QCOMPARE(field.time(), "07:15:45");
        for (const int number : {1, 2, 2}) {
            const QPointF place = field.line.mapToParent(field.placeOf(number));
            QWheelEvent wheel(place, field.picker.mapToGlobal(place), {}, {0, 120}, {}, {},
                              Qt::NoScrollPhase, false);
            QApplication::sendEvent(&field.picker, &wheel);
        }
        QCOMPARE(field.time(), "07:16:47");
    }

    /// The same typing in every format; what is shown can be copied and pasted; where there is no
    /// room for the format the 24-hour clock stands in for it.
    void in_every_format()
    {
        Field field("C");
        for (const QLocale &format : QLocale::matchingLocales(
                 QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry)) {
            field.picker.setLocale(format);
            for (const int width : {Field::WideEnough, 40}) {
                field.picker.resize(width, 24);
                field.picker.Value("08:15:45");
                for (const QChar key : QStringLiteral("213015"))
                    field.press(key);
                QVERIFY2(field.time() == "21:30:15", qPrintable(format.name()));
                const QString shown = field.picker.text();
                QCOMPARE(shown, width == 40 ? QStringLiteral("21:30:15")
                                            : formatTimeOfDay({21, 30, 15}, format));
                field.picker.Value("08:15:45");
                field.paste(shown);
                QVERIFY2(field.time() == "21:30:15", qPrintable(format.name()));
            }
        }
    }
};

QTEST_MAIN(TestDTPicker)
#include "tst_dtpicker.moc"
