#include "clock/AutoSwitch.h"
#include "platform/RegionalFormat.h"

#include <QtTest>

class TestAutoSwitch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wanted_data()
    {
        QTest::addColumn<QStringList>("times"); ///< Clock In, Clock Out, now
        QTest::addColumn<int>("event");
        const auto row = [](const char *clockIn, const char *clockOut, const char *now, int event) {
            QTest::addRow("%s %s at %s", clockIn, clockOut, now)
                << QStringList{clockIn, clockOut, now} << event;
        };
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
    void wanted()
    {
        QFETCH(QStringList, times);
        QFETCH(int, event);
        QCOMPARE(wantedEvent(timeText(times[0]), timeText(times[1]), timeText(times[2])), event);
    }
};

QTEST_GUILESS_MAIN(TestAutoSwitch)
#include "tst_autoswitch.moc"
