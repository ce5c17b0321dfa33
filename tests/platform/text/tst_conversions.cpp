#include "platform/text/Conversions.h"
#include "platform/text/DatesAndTimes.h"
#include "tests/support/Table.h"
#include "tests/support/failureOf.h"

using namespace Tavrel;

class TestConversions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Texts as numbers: leniently, as for settings and without a locale, and strictly.
    void texts_data()
    {
        Table<QString, QString, int, int> row("locale", "text", "value", "failure");
        for (const char *nothing : {"", "abc", "-", ".", "inf", "0.5", "-0.5", "1e-999"})
            row("lenient", nothing, 0, 0);
        row("lenient", "12 monkeys", 12, 0);
        row("lenient", " 1 2\t3\r\n", 123, 0);
        row("lenient", "- 7", -7, 0);
        row("lenient", "+.5e1x", 5, 0);
        row("lenient", "1e", 1, 0);
        row("lenient", "1,9", 1, 0);
        row("lenient", QStringLiteral("1 2") + QChar(0xd83d), 12, 0); // half a surrogate pair
        row("lenient", "1.5", 2, 0);
        row("lenient", "2.5", 2, 0);
        row("lenient", "32767.4", 32767, 0);
        row("lenient", "-32768.5", -32768, 0);
        row("lenient", "2026-11-22", 2026, 0);
        for (const char *tooLarge : {"32767.5", "99999", "1e9", "1e999"})
            row("lenient", tooLarge, 0, 6);
        for (const char *bad : {"", "1x", "inf", "nan"})
            row("en_US", bad, 0, 13);
        row("en_US", " 1 ", 1, 0);
        row("en_US", "1.5", 2, 0);
        row("en_US", "1,234", 1234, 0);
        for (const char *tooLarge : {"99999", "1e999"})
            row("en_US", tooLarge, 0, 6);
        row("de_DE", "1,5", 2, 0);
        row("de_DE", "1.234", 1234, 0);
        row("de_DE", "1.5", 0, 13);
        row("ar_EG", "1", 1, 0);
        row("fa_IR", "-2", -2, 0);
    }
    void texts()
    {
        QFETCH(QString, locale);
        QFETCH(QString, text);
        int value = 0;
        QTEST(failureOf([&] {
                  value = locale == "lenient" ? lenientNumber(text)
                                              : strictNumber(text, QLocale(locale));
              }),
              "failure");
        QTEST(value, "value");
    }

    void times_data()
    {
        Table<QString, QString, double, int> row("locale", "text", "value", "failure");
        const double afternoon = (17 * 3600 + 30 * 60) / 86400.0;
        for (const char *locale : {"en_US", "de_DE", "ja_JP"}) {
            row(locale, "00:00:00", 0.0, 0);
            row(locale, "12:00:00", 0.5, 0);
            row(locale, "17:30", afternoon, 0);
            row(locale, "5:30:00 PM", afternoon, 0);
            row(locale, "2026-11-22 12:00:00", 46348.5, 0);
            row(locale, "2026-11-22", 46348.0, 0);
            row(locale, "17.30.00", afternoon, 0);
            row(locale, "10.12.05", (10 * 3600 + 12 * 60 + 5) / 86400.0, 0); // not a date
            for (const char *bad : {"", "noon", "25:00:00", "12:60:00", "12", "0730", "-1", "1e9"})
                row(locale, bad, 0.0, 13);
        }
        row("ko_KR", "\uC624\uD6C4 5:30", afternoon, 0); // the mark for PM comes first
        row("ar_EG", "\u0661\u0667:\u0663\u0660", afternoon, 0);
        row("en_US", "12:00:00 am", 0.0, 0);
        row("en_US", "10/12/05", 2112.0, 0); // not a time
        row("de_DE", "10/12", (10 * 3600 + 12 * 60) / 86400.0, 0);
        row("fi_FI", "5.30 ip.", afternoon, 0); // afternoon, but morning in smn_FI
        row("smn_FI", "5.30 ip.", afternoon - 0.5, 0);
        row("en_US", "5.30 ip.", 0.0, 13);
        row("en_US", "12:00:00 PM and more", 0.0, 13);
        row("en_US", "13:00:00 PM", 0.0, 13);
        row("de_DE", "22.11.26 12:00:00", 9823.5, 0); // two digits of a year are those of 1926
        row("en_US", "November 22, 2026 5:30 PM", 0.0, 13);
        row("en_US", "Sunday, November 22, 2026 5:30 PM", 46348.0 + afternoon, 0);
    }
    void times()
    {
        QFETCH(QString, locale);
        QFETCH(QString, text);
        QTEST(failureOf([&] { QTEST(timeText(text, QLocale(locale)), "value"); }), "failure");
    }

    /// A time in the format of any locale is read as the same time in every other.
    void timesInEveryLocale()
    {
        const auto all =
            QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry);
        QVERIFY(all.size() > 400);
        for (const QTime &time : {QTime(0, 0), QTime(10, 12, 5), QTime(12, 0), QTime(21, 5, 9)}) {
            QHash<QString, QString> writers{{time.toString(u"HH:mm:ss"), "all"}};
            for (const QLocale &locale : all)
                writers.insert(formatTimeOfDay(time, locale), locale.name());
            QVERIFY(writers.size() > 50); // the other locales write like one of these
            for (const QLocale &reader : all) {
                for (const auto &[text, writer] : writers.asKeyValueRange()) {
                    const auto [date, read] = parseDateAndTime(text, reader);
                    QVERIFY2(read == time && !date.isValid(),
                             qPrintable(text + " of " + writer + " in " + reader.name()));
                }
            }
        }
        for (const QLocale &locale : all) {
            for (int digit = 0; digit <= 3; ++digit)
                QCOMPARE(int(strictNumber(QString::number(digit), locale)), digit);
        }
    }

    void display()
    {
        const QDateTime moment(QDate(2026, 3, 9), QTime(9, 5, 7));
        const QLocale american(QStringLiteral("en_US"));
        const QLocale german(QStringLiteral("de_DE"));
        QCOMPARE(formatHHNNSS(moment), QStringLiteral("090507"));
        QCOMPARE(formatLongDate(moment, american), QStringLiteral("Monday, March 9, 2026"));
        QCOMPARE(formatDateTime(moment, american), QStringLiteral("3/9/26 9:05:07 AM"));
        QCOMPARE(formatDateTime(moment, german), QStringLiteral("09.03.26 09:05:07"));
        QVERIFY(formatDateTime(moment, QLocale("ca_ES")).endsWith(" 9:05:07")); // without "()"
    }
};

QTEST_GUILESS_MAIN(TestConversions)
#include "tst_conversions.moc"
