#include "platform/Conversions.h"
#include "platform/Failure.h"
#include "platform/RegionalFormat.h"

#include <QtTest>

#include <functional>

/// The number of the failure that `action` throws; 0 when it throws none.
static int failureOf(const std::function<void()> &action)
{
    try {
        action();
        return 0;
    } catch (const Failure &failure) {
        return failure.number;
    }
}

static void addNumber(const char *text, int value, int failure = 0)
{
    QTest::addRow("'%s'", text) << QString::fromLatin1(text) << value << failure;
}

class TestConversions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lenient_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("failure");
        addNumber("", 0);
        addNumber("abc", 0);
        addNumber("-", 0);
        addNumber(".", 0);
        addNumber("12 monkeys", 12);
        addNumber(" 1 2 3 ", 123);
        addNumber("- 7", -7);
        addNumber("+.5e1x", 5);
        addNumber("1e", 1);
        addNumber("1,9", 1);
        addNumber("0.5", 0);
        addNumber("1.5", 2);
        addNumber("2.5", 2);
        addNumber("-0.5", 0);
        addNumber("32767.5", 0, 6);
        addNumber("32767.4", 32767);
        addNumber("-32768.5", -32768);
        addNumber("99999", 0, 6);
        addNumber("1e9", 0, 6);
        addNumber("1e999", 0, 6);
        addNumber("1e-999", 0);
        addNumber("inf", 0);
        addNumber("2026-11-22", 2026);
    }
    void lenient()
    {
        QFETCH(QString, text);
        QFETCH(int, value);
        QFETCH(int, failure);
        QCOMPARE(failureOf([&] { QCOMPARE(int(lenientNumber(text)), value); }), failure);
    }

    void strict_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("failure");
        const auto row = [](const char *locale, const char *text, int value, int failure = 0) {
            QTest::addRow("%s '%s'", locale, text)
                << QString::fromLatin1(locale) << QString::fromLatin1(text) << value << failure;
        };
        row("en_US", "", 0, 13);
        row("en_US", "1x", 0, 13);
        row("en_US", "inf", 0, 13);
        row("en_US", "nan", 0, 13);
        row("en_US", " 1 ", 1);
        row("en_US", "1.5", 2);
        row("en_US", "1,234", 1234);
        row("en_US", "99999", 0, 6);
        row("en_US", "1e999", 0, 6);
        row("de_DE", "1,5", 2);
        row("de_DE", "1.234", 1234);
        row("de_DE", "1.5", 0, 13);
        row("ar_EG", "1", 1);
        row("fa_IR", "-2", -2);
    }
    void strict()
    {
        QFETCH(QString, locale);
        QFETCH(QString, text);
        QFETCH(int, value);
        QFETCH(int, failure);
        QCOMPARE(failureOf([&] { QCOMPARE(int(strictNumber(text, QLocale(locale))), value); }),
                 failure);
    }

    void column_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<int>("number");
        QTest::addColumn<int>("failure");
        QTest::newRow("Null") << QVariant() << 0 << 94;
        QTest::newRow("whole") << QVariant(qlonglong(32767)) << 32767 << 0;
        QTest::newRow("too large") << QVariant(qlonglong(32768)) << 0 << 6;
        QTest::newRow("real") << QVariant(2.5) << 2 << 0;
        QTest::newRow("text") << QVariant(QStringLiteral("12")) << 12 << 0;
        QTest::newRow("no number") << QVariant(QStringLiteral("twelve")) << 0 << 13;
        QTest::newRow("bytes") << QVariant(QByteArray("12")) << 0 << 13;
    }
    void column()
    {
        QFETCH(QVariant, value);
        QFETCH(int, number);
        QFETCH(int, failure);
        QCOMPARE(failureOf([&] { QCOMPARE(int(toInt16(value)), number); }), failure);
    }

    void oneMore()
    {
        QVERIFY(plusOne(QVariant()).isNull());
        QCOMPARE(plusOne(QVariant(qlonglong(1) << 40)), QVariant((qlonglong(1) << 40) + 1));
        QCOMPARE(plusOne(QVariant(QStringLiteral("7"))).toDouble(), 8.0);
        QCOMPARE(failureOf([] { plusOne(QVariant(std::numeric_limits<qlonglong>::max())); }), 6);
        QCOMPARE(failureOf([] { plusOne(QVariant(QStringLiteral("x"))); }), 13);
    }

    void times_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("failure");
        const auto row = [](const char *locale, const char *text, double value, int failure = 0) {
            QTest::addRow("%s '%s'", locale, text)
                << QString::fromLatin1(locale) << QString::fromUtf8(text) << value << failure;
        };
        const double afternoon = (17 * 3600 + 30 * 60) / 86400.0;
        for (const char *locale : {"en_US", "de_DE", "ja_JP"}) {
            row(locale, "00:00:00", 0.0);
            row(locale, "12:00:00", 0.5);
            row(locale, "17:30", afternoon);
            row(locale, "5:30:00 PM", afternoon);
            row(locale, "2026-11-22 12:00:00", 46348.5);
            row(locale, "2026-11-22", 46348.0);
            for (const char *bad : {"", "noon", "25:00:00", "12:60:00", "12", "-1", "1e9"})
                row(locale, bad, 0.0, 13);
        }
        row("ko_KR", "\uC624\uD6C4 5:30", afternoon); // the mark for PM comes first
        row("en_US", "12:00:00 am", 0.0);
        row("en_US", "12:00:00 PM and more", 0.0, 13);
        row("en_US", "13:00:00 PM", 0.0, 13);
        row("de_DE", "22.11.26 12:00:00", 9823.5); // two digits of a year are those of 1926
        row("en_US", "November 22, 2026 5:30 PM", 0.0, 13);
        row("en_US", "Sunday, November 22, 2026 5:30 PM", 46348.0 + afternoon);
    }
    void times()
    {
        QFETCH(QString, locale);
        QFETCH(QString, text);
        QFETCH(double, value);
        QFETCH(int, failure);
        QCOMPARE(failureOf([&] { QCOMPARE(timeText(text, QLocale(locale)), value); }), failure);
    }

    /// What the dialog writes in any format is read back as the same time, in it and, as a plain
    /// time, in every other.
    void timesInEveryLocale()
    {
        const auto all =
            QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry);
        QVERIFY(all.size() > 400);
        for (const QLocale &locale : all) {
            for (const QTime &time :
                 {QTime(0, 0, 0), QTime(6, 0, 9), QTime(12, 0), QTime(23, 59, 58)}) {
                const QString text = formatTimeOfDay(time, locale);
                QVERIFY2(parseDateAndTime(text, locale).time == time, qPrintable(locale.name()));
                QVERIFY(!parseDateAndTime(text, locale).date.isValid());
                QCOMPARE(timeText(time.toString(u"HH:mm:ss"), locale), timeOfDay(time));
            }
            for (int digit = 0; digit <= 3; ++digit)
                QCOMPARE(int(strictNumber(QString::number(digit), locale)), digit);
        }
    }

    void display()
    {
        const QDateTime moment(QDate(2026, 3, 9), QTime(9, 5, 7));
        QCOMPARE(formatHHNNSS(moment), QStringLiteral("090507"));
        QCOMPARE(formatLongDate(moment, QLocale(QStringLiteral("en_US"))),
                 QStringLiteral("Monday, March 9, 2026"));
        QCOMPARE(formatDateTime(moment, QLocale(QStringLiteral("en_US"))),
                 QStringLiteral("3/9/26 9:05:07 AM"));
        QCOMPARE(formatDateTime(moment, QLocale(QStringLiteral("de_DE"))),
                 QStringLiteral("09.03.26 09:05:07"));
    }
};

QTEST_GUILESS_MAIN(TestConversions)
#include "tst_conversions.moc"
