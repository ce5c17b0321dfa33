#include "tests/support/ReaderBench.h"
#include "tests/support/Table.h"

#include <limits>

using namespace Tavrel;

class TestCMRW : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void connecting()
    {
        ReaderBench t;
        t.comm.open = false;
        QCOMPARE(t.driver.Disconnect(), -3);
        t.driver.CommPort(32768);
        QCOMPARE(t.driver.Connect(), -2);
        t.driver.CommPort(2);
        t.driver.Settings("4800,O,7,1");
        QCOMPARE(t.comm.port, std::int16_t(0));
        t.comm.broken = true;
        QCOMPARE(t.driver.Connect(), -2);
        QVERIFY(!t.comm.open);
        t.comm.broken = false;
        QCOMPARE(t.driver.Connect(), 0);
        QCOMPARE(t.comm.port, std::int16_t(2));
        QCOMPARE(t.comm.settings, QStringLiteral("4800,O,7,1"));

        t.driver.CommPort(3);
        QCOMPARE(t.driver.Connect(), -1);
        QCOMPARE(t.comm.port, std::int16_t(2));
        QVERIFY(t.comm.open);
        QCOMPARE(t.driver.Disconnect(), 0);
        QVERIFY(!t.comm.open);
        QVERIFY(t.host.boxes.isEmpty());
    }

    void descriptions_data()
    {
        Table<int, QString> row("code", "text");
        row(-1, "Device is already connected.");
        row(-2, "Commport open failed.");
        row(-3, "Device is not connected.");
        row(-4, "Unknown error code.");
        row(-5, "Invalid swipe magnetic card or device settings.");
        row(-6, "The track1 data is not allowed.");
        row(-7, "The track2 data is not allowed.");
        row(-8, "The track3 data is not allowed.");
        row(-9, "");
        row(-10, "The writing card process time out.");
        row(-11, "Unknown error code.");
        row(0, "Unknown error code.");
    }
    void descriptions()
    {
        QFETCH(int, code);
        QFETCH(QString, text);
        ReaderBench t;
        QString message = QStringLiteral("before");
        t.driver.ErrorDescription(code, message);
        QCOMPARE(message, text);
        t.driver.ShowErrorDescription(code);
        QCOMPARE(t.host.boxes, text.isEmpty() ? QStringList() : QStringList("Tavrel! " + text));
    }

    void frames_data()
    {
        // The data type 7 means unchanged.
        Table<QByteArray, int, QStringList, int> row("bytes", "result", "tracks", "dataType");
        const QStringList none{"a", "b", "c"};
        row("two tracks", "\2%B12?;123?\3", 0, {"B12", "123", "c"}, 0);
        row("the other sentinel", "\2;123<\3", 0, {"a", "123", "c"}, 1);
        row("a blank", "\2%A B?\3", 0, {"AB", "b", "c"}, 0);
        row("empty tracks", "\2%?;9?+?\3", 0, {"", "9", ""}, 0);
        row("out of order", "\2;1?%A?\3", 0, {"a", "1", "c"}, 0);
        row("NAK", "\2\x15\3", -5, none, 7);
        row("NAK without STX", "x\x15\3", -5, none, 7);
        row("no STX", "A;1\3", 0, none, 7);
        row("no STX, sentinel", "A<?\3", 0, none, 1);
        row("no end sentinel", "\2;12\3z", 0, {"a", "12\3z", "c"}, 7);
        row("only STX", "\2\3", 0, none, 7);
        row("only ETX", "\3", 0, none, 7);
        row("two frames", "\2;1?\3\2;2<\3", 0, {"a", "1", "c"}, 0);
        row("a sentinel after ETX", "\2;1\3<", 0, {"a", "1\3", "c"}, 1);
        row("every byte stays", "\2%\x80\xA0\xFF?\3", 0, {"\u0080\u00A0\u00FF", "b", "c"}, 0);
        row("nothing more", "\2%AB", -4, none, 7);
        row("nothing more, sentinel", "\2%AB<", -4, none, 1);
        row("513 bytes", "\2;" + QByteArray(509, '1') + "?\3", 0, {"a", QString(509, u'1'), "c"},
            0);
    }
    void frames()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, dataType);
        for (const int batch : {1, int(bytes.size())}) {
            for (const int before : {0, 1}) {
                ReaderBench t;
                t.comm.received = before ? "<\3" : "?\3";
                QCOMPARE(t.read(), 0);
                qsizetype sent = 0;
                t.host.onEvents = [&] {
                    t.comm.received += bytes.mid(sent, batch);
                    sent += batch;
                };
                QTEST(t.read(), "result");
                // Sent one by one, bytes after the end of the frame are not received yet.
                if (batch == 1 && bytes.contains('\3') && !bytes.endsWith('\3'))
                    continue;
                QTEST(QStringList(t.tracks.begin(), t.tracks.end()), "tracks");
                QCOMPARE(t.driver.ReadTrackDataType(), dataType == 7 ? before : dataType);
                QVERIFY(t.host.boxes.isEmpty());
            }
        }
    }

    void frames_past_the_buffer()
    {
        const QByteArray digits(509, '1');
        const std::pair<QByteArray, QString> frames[] = {
            {"\2;" + digits + "1?\3", "b"},
            {"\2;" + digits + "\3", digits + "\3"}, // no end sentinel in 512 bytes
            {QByteArray(1024, '\x7f'), "b"},
        };
        for (const auto &[bytes, track2] : frames) {
            ReaderBench t;
            t.comm.received = "<\3";
            QCOMPARE(t.read(), 0);
            t.comm.received = bytes;
            t.host.onBox = [&] { QCOMPARE(t.read(), 0); }; // still busy while the box is open
            QCOMPARE(t.read(), 0);
            QCOMPARE(t.tracks[1], track2);
            QCOMPARE(t.driver.ReadTrackDataType(), 1); // a failed read leaves it unchanged
            QCOMPARE(t.host.boxes, QStringList("Tavrel: Subscript out of range"));
            t.comm.received = "\2;5?\3";
            QCOMPARE(t.read(), 0);
            QCOMPARE(t.tracks[1], "5");
        }
    }

    void timeouts()
    {
        ReaderBench t;
        t.host.ticksPerPass = 50;
        QCOMPARE(t.read(), -4);
        QCOMPARE(t.host.ticks, 201U); // 200 ms are not yet more than 200

        // Slowly arriving bytes never time out.
        t.host.ticks = 0;
        t.host.onEvents = [&] {
            t.comm.received = t.host.ticks % 200 ? "" : t.host.ticks < 4500 ? "\2" : "\3";
        };
        QCOMPARE(t.read(), 0);
        QCOMPARE(t.host.ticks, 4600U);

        // If the tick count jumps back, time is counted from the jump.
        t.host.onEvents = {};
        t.host.ticks = std::numeric_limits<std::int32_t>::max() - 60U;
        const std::uint32_t jump = t.host.ticks + 2 * t.host.ticksPerPass;
        QCOMPARE(t.read(), -4);
        QCOMPARE(t.host.ticks, jump + 201);
    }

    void cancel()
    {
        for (const int timeout : {-1, 0, 10000}) {
            for (const QByteArray tooLate : {"", "\2;1<\3"}) {
                ReaderBench t;
                t.driver.Cancel(); // without effect before the read
                t.host.script[5000] = [&] {
                    t.driver.Cancel();
                    t.comm.received = tooLate;
                    t.host.ticks += 20000; // and so is the time-out
                };
                QCOMPARE(t.read(timeout), -9);
                QCOMPARE(t.host.ticks, 25000U);
                QCOMPARE(t.tracks[1], QStringLiteral("b"));
                QCOMPARE(t.driver.ReadTrackDataType(), tooLate.isEmpty() ? 0 : 1);
            }
        }
    }

    void a_read_inside_a_read_does_nothing()
    {
        ReaderBench t;
        t.host.onEvents = [&] {
            t.comm.received = "\2;1?\3";
            QCOMPARE(t.read(), 0);
            QCOMPARE(t.tracks[1], QStringLiteral("b"));
        };
        QCOMPARE(t.read(), 0);
        QCOMPARE(t.tracks[1], QStringLiteral("1"));
    }

    void no_port()
    {
        ReaderBench t;
        t.comm.open = false;
        QCOMPARE(t.read(), -3);
        QCOMPARE(t.host.ticks, 0U);
        t.comm.open = t.comm.broken = true;
        QCOMPARE(t.read(), 0);
        QCOMPARE(t.host.boxes, QStringList("Tavrel: broken"));
    }

    /// As the Options dialog does during a waiting read.
    void a_port_reopened_under_the_read()
    {
        ReaderBench t;
        t.comm.received = "\2;12";
        t.host.script[10] = [&] {
            t.driver.Disconnect();
            t.driver.Connect();
        };
        QCOMPARE(t.read(), -4);
        QVERIFY(t.host.boxes.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestCMRW)
#include "tst_cmrw.moc"
