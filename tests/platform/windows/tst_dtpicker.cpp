#include "platform/windows/DTPicker.h"
#include "tests/support/Table.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>

using namespace Tavrel;

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

    /// The position of the n-th number or word in the text.
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

    /// Tab or Backtab into the field if `where` is ⇥ or ⇤, with a current group other than the one
    /// to be entered; otherwise a click on that number or word.
    void enter(QChar where)
    {
        if (where.isDigit())
            return QTest::mouseClick(&line, Qt::LeftButton, {}, placeOf(where.digitValue()));
        press("⇲");
        picker.setFocus(where == u'⇥' ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    }

    void press(const QString &key)
    {
        static const QHash<QString, QKeyCombination> named{
            {"↑", Qt::Key_Up},           {"↓", Qt::Key_Down},         {"←", Qt::Key_Left},
            {"→", Qt::Key_Right},        {"⇱", Qt::Key_Home},         {"⇲", Qt::Key_End},
            {"⌫", Qt::Key_Backspace},    {"⌦", Qt::Key_Delete},       {"∀", Qt::CTRL | Qt::Key_A},
            {"✂", Qt::CTRL | Qt::Key_X}, {"↶", Qt::CTRL | Qt::Key_Z}, {"✓", Qt::CTRL | Qt::Key_V},
        };
        const QKeyCombination combination = named.value(key, Qt::Key_unknown);
        const QString text = named.contains(key) ? QString() : key;
        QTest::sendKeyEvent(QTest::Click, &picker, combination.key(), text,
                            combination.keyboardModifiers());
    }

    /// Presses the key for each character.
    void type(const QString &text)
    {
        for (const char32_t character : text.toUcs4())
            press(QString::fromUcs4(&character, 1));
    }

    void paste(const QString &text)
    {
        QApplication::clipboard()->setText(text);
        press("✓");
    }

    /// The time of the value; "torn" if the text shows a different one.
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
    /// The time in a field entered at `where`, also after Enter, in each of the formats.
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
        row(all, "0", "07: 3", "07:03:45");
        row(all, "0", "73:5", "07:03:05");
        row(all, "1", "5", "08:05:45");
        row(all, "1", "←22", "22:15:45");
        row(all, "1", "62", "08:06:02");
        row(all, "2", "7", "08:15:07");
        row(all, "⇥", "09", "09:15:45");
        row(all, "⇤", "7:30", "07:30:45");
        row(all, "0", "19", "19:15:45");
        row(all, "0", "0030", "00:30:45");
        row(all, "0", "24", "08:15:45");
        row(all, "0", "2530", "08:30:45");
        row(all, "0", "24:00", "08:00:45");
        row(all, "0", "130", "13:00:45"); // not "1:30", as more may follow
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
        row(all, "1", "∀1130", "11:30:00");
        row(all, "1", "∀12:30", "12:30:00");
        row(all, "1", "∀x24", "00:00:00");
        row("C de_DE en_US ar_EG", "1", "∀p", "20:15:45"); // not a digit
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
        row("en_US de_DE", "0", "7:30:00 pa", "07:30:00");
        row("C de_DE fi_FI en_US ko_KR", "1", "←←5p", "17:15:45");
        row("C de_DE fi_FI en_US ar_EG", "1", "p", "20:15:45");
        row("C de_DE fi_FI en_US ar_EG", "1", "3p0", "20:03:00");
        row("C de_DE fi_FI en_US ar_EG", "2", "p←←9a", "09:15:45");
        row("ar_EG", "3", "م", "20:15:45");
        row("ko_KR", "0", "후9:30", "21:30:45"); // the half comes first
        row("ko_KR", "⇥", "930", "09:30:45");
        row("ko_KR", "⇥", "1후5", "13:05:45");
        row("fr_CA", "0", "1h5", "01:05:45");
        row("fr_CA", "0", "1m5", "15:15:45");
        if (QLocale("eo_001").timeFormat().contains(u"'a'")) // no longer in Qt 6.8
            row("eo_001", "0", "21a5", "21:05:45");          // "a" separates it from the minutes
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

    /// A text gives the same time whether it is pasted, dropped, or typed over another time or over
    /// midnight.
    void texts_data()
    {
        const Table<QString, QString, QString> row("formats", "text", "time");
        const QString all("C de_DE fi_FI en_US ar_EG ko_KR ja_JP zh_TW fr_CA eo_001");
        row(all, "10:11:12", "10:11:12");
        row(all, "10.11.12", "10:11:12");
        row(all, "10/11/12", "10:11:12");
        row(all, " 7.30 ", "07:30:00");
        row(all, "7 : 3", "07:03:00");
        row(all, "7h30", "07:30:00");
        row(all, "730", "07:30:00");
        row(all, "245", "02:45:00");
        row(all, "073015", "07:30:15");
        row(all, "٧:٣٠", "07:30:00");
        row(all, "𞥗:𞥓𞥐", "07:30:00");
        row(all, "5:30pm", "17:30:00");
        row(all, "5:30 PM", "17:30:00");
        row(all, "5:30:15 p.m.", "17:30:15");
        row(all, "5:30\u202fPM", "17:30:00");
        row(all, "9:30PM", "21:30:00");
        row(all, "930p", "21:30:00");
        row(all, "130 pm", "13:30:00");
        row(all, "20510p", "14:05:10");
        row(all, "5 Pm", "17:00:00");
        row(all, "5p", "17:00:00");
        row(all, "12:30 PM", "12:30:00");
        row(all, "12:30 AM", "00:30:00");
        row(all, "12 a.m.", "00:00:00");
        row(all, "12:30a", "00:30:00");
        row(all, "PM 9:30", "21:30:00");
        row(all, "오후 9:30", "21:30:00");
        row(all, "오후 9시 30분 5초", "21:30:05");
        row(all, "下午9:30", "21:30:00");
        row(all, "晚上9:30", "21:30:00");
        row(all, "凌晨12:30", "00:30:00");
        row(all, "٩:٣٠ م", "21:30:00");
        row(all, "21時30分05秒", "21:30:05");
        row(all, "21 h 30 min 05 s", "21:30:05");
        row(all, "Klock 21.30:05", "21:30:05");
        row("ja_JP", "午後9時30分", "21:30:00");
        row("fi_FI", "9.30 ip.", "21:30:00"); // in another format, the other half of the day
        row("smn_FI", "9.30 ip.", "09:30:00");
        row("bem_ZM to_TO lv_LV lt_LT", "12:30 AM",
            "00:30:00"); // its letters occur in both of their marks
        row("bem_ZM to_TO lv_LV lt_LT", "12:30 PM", "12:30:00");
        for (const char *none : {"", "x", "COM1", "5 people", "25:00", "10:60", "13 pm", "0 am",
                                 "1 2 3 4", "22.11.2026", "2026-11-22", "12 am - 5 pm", "5 pm 30",
                                 "130", ":12", "1e9", "22 november 26"})
            row(all, none, "");
        row("C de_DE en_US", "9:30 ip.", "");
    }
    void texts()
    {
        QFETCH(QString, formats);
        QFETCH(QString, text);
        QFETCH(QString, time);
        for (const QString &format : formats.split(' ')) {
            Field field(format);
            const QString given = time.isEmpty() ? field.time() : time;
            field.paste(text);
            QVERIFY2(field.time() == given, qPrintable(format + ' ' + field.time()));

            QMimeData dropped;
            dropped.setText(text);
            QDragEnterEvent arrival({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, {});
            QDropEvent drop({5, 5}, Qt::CopyAction | Qt::MoveAction, &dropped, Qt::LeftButton,
                            Qt::ShiftModifier); // requests moving the text
            field.picker.Value("08:15:45");
            QApplication::sendEvent(&field.picker, &arrival);
            QApplication::sendEvent(&field.picker, &drop);
            QCOMPARE(field.time(), given);
            QCOMPARE(drop.dropAction(), Qt::CopyAction);

            if (time.isEmpty())
                continue;
            field.picker.Value("20:15:45");
            field.type("∀" + text);
            QVERIFY2(field.time() == time, qPrintable(format + " all " + field.time()));
            field.picker.Value("00:00:00");
            field.type("⇱" + text);
            QVERIFY2(field.time() == time, qPrintable(format + " first " + field.time()));
        }
    }

    void the_mouse_selects_all_data()
    {
        const Table<QString> row("way");
        row("three clicks");
        row("dragged");
    }
    void the_mouse_selects_all()
    {
        Field field("en_US");
        const QPoint place = field.placeOf(1);
        if (QString(QTest::currentDataTag()) == "dragged") {
            QTest::mousePress(&field.line, Qt::LeftButton, {}, {0, place.y()});
            QTest::mouseMove(&field.line, {field.line.width() - 1, place.y()});
        } else {
            QTest::mouseClick(&field.line, Qt::LeftButton, {}, place);
            QTest::mouseDClick(&field.line, Qt::LeftButton, {}, place);
            QTest::mousePress(&field.line, Qt::LeftButton, {}, place);
        }
        QTest::mouseRelease(&field.line, Qt::LeftButton, {}, {field.line.width() - 1, place.y()});
        QCOMPARE(field.line.selectedText(), field.picker.text());
        field.press("9");
        QCOMPARE(field.time(), "09:00:00");
    }

    /// What an input method composes counts as typed once committed; nothing else changes the text.
    void other_ways_in()
    {
        Field field("en_US");
        QInputMethodEvent commit("7:3", {});
        commit.setCommitString("7:30");
        QApplication::sendEvent(&field.picker, &commit);
        QCOMPARE(field.time(), "07:30:45");
        QFocusEvent comingBack(QEvent::FocusIn, Qt::ActiveWindowFocusReason);
        QApplication::sendEvent(&field.picker, &comingBack);
        field.press("↑");
        field.press("↑"); // the seconds still
        QCOMPARE(field.time(), "07:30:47");
        field.press("↓");
        field.press("↓");
        field.line.clear();
        field.line.setText("10:11:12");
        QCOMPARE(field.time(), "07:30:45");
        QCOMPARE(QAccessible::queryAccessibleInterface(&field.picker)->text(QAccessible::Value),
                 "7:30:45 AM");

        field.picker.setReadOnly(true);
        field.paste("10:11:12");
        QApplication::sendEvent(&field.picker, &commit);
        field.type("9↑⌦✂→∀⌫");
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

    /// The same typing in every format; the text shown can be copied and pasted; if the format does
    /// not fit, the 24-hour format is used instead.
    void in_every_format()
    {
        Field field("C");
        for (const QLocale &format : QLocale::matchingLocales(
                 QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry)) {
            field.picker.setLocale(format);
            for (const int width : {Field::WideEnough, 40}) {
                field.picker.resize(width, 24);
                field.picker.Value("08:15:45");
                field.type("213015");
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
