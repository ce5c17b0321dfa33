#include "platform/database/ColumnValues.h"
#include "tests/support/Table.h"
#include "tests/support/failureOf.h"

#include <limits>

using namespace Tavrel;

class TestColumnValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void column_data()
    {
        Table<QVariant, int, int> row("value", "number", "failure");
        row("Null", QVariant(), 0, 94);
        row("whole", 32767LL, 32767, 0);
        row("too large", 32768LL, 0, 6);
        row("real", 2.5, 2, 0);
        row("text", "12", 12, 0);
        row("no number", "twelve", 0, 13);
        row("bytes", QByteArray("12"), 0, 13);
    }
    void column()
    {
        QFETCH(QVariant, value);
        QTEST(failureOf([&] { QTEST(int(toInt16(value)), "number"); }), "failure");
    }

    void oneMore()
    {
        QVERIFY(plusOne(QVariant()).isNull());
        QCOMPARE(plusOne(QVariant(qlonglong(1) << 40)), QVariant((qlonglong(1) << 40) + 1));
        QCOMPARE(plusOne(QVariant(QStringLiteral("41"))), QVariant(42LL));
        QCOMPARE(plusOne(QVariant(QStringLiteral("1.5"))), QVariant(2.5));
        QCOMPARE(plusOne(QVariant(7.0)), QVariant(8.0));
        QCOMPARE(failureOf([] { plusOne(QVariant(std::numeric_limits<qlonglong>::max())); }), 6);
        QCOMPARE(failureOf([] { plusOne(QVariant(QStringLiteral("x"))); }), 13);
    }
};

QTEST_GUILESS_MAIN(TestColumnValues)
#include "tst_columnvalues.moc"
