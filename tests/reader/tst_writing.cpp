#include "platform/serial/TermiosComm.h"
#include "tests/support/ReaderBench.h"
#include "tests/support/Table.h"
#include "tools/virtual-reader/ReaderProtocol.h"
#include "tools/virtual-reader/VirtualReader.h"

using namespace Tavrel;

static const QByteArray Accepted("\2\6\3");
static const QString OutOfRange = "Tavrel: Subscript out of range";

/// Sets a reader's line to arbitrary values.
static std::int32_t setLine(ReaderBench &bench)
{
    return bench.driver.SetBaudRate_BCC("9600,n,8,1", True, "n");
}

/// A real line with a reader that accepts everything.
class AcceptingLine : public TermiosComm
{
public:
    AcceptingLine() : TermiosComm([this](std::int16_t) { return reader.device(); })
    {
        PortOpen(true);
    }

    void Output(const QByteArray &bytes) override
    {
        TermiosComm::Output(bytes);
        sent += reader.receive(bytes.size());
        reader.send(Accepted);
        while (InBufferCount() < Accepted.size()) {
        }
    }

    VirtualReader reader;
    QByteArrayList sent;
};

class TestWriting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void frames_data()
    {
        Table<QByteArray, QStringList, int, int> row("frame", "tracks", "deviceType", "bcc");
        const QStringList full{"ABC", "123", "45"};
        row("02 3B 31 32 33 34 3F 03", {"", "1234", ""}, 0, False);
        row("02 3B 35 3F 03 32", {"", "5", ""}, 0, True);
        row("02 25 41 42 43 3C 3B 31 32 33 3C 2B 34 35 3C 03", full, 1, False);
        row("02 25 41 42 43 3C 3B 31 32 33 3C 2B 34 35 3C 03 7B", full, 1, True);
        row("02 03", {"", "", ""}, 0, False);
        row("02 03 03", {"", "", ""}, 0, True);
        row("02 2B 3C 3F 03", {"", "", "<"}, 2, 1); // 1 is not True, and 2 is not a valid type
    }
    void frames()
    {
        QFETCH(QByteArray, frame);
        QFETCH(QStringList, tracks);
        QFETCH(int, deviceType);
        QFETCH(int, bcc);
        ScriptedHost host;
        AcceptingLine line;
        CMRW driver(host, line);
        driver.DeviceType(1);
        driver.DeviceType(0);
        driver.DeviceType(deviceType);
        QCOMPARE(driver.DeviceType(), deviceType);
        driver.BCC(static_cast<Boolean>(bcc));
        QCOMPARE(driver.WriteTracks(1, tracks[0], tracks[1], tracks[2]), 0);
        QCOMPARE(line.sent, QByteArrayList{QByteArray::fromHex(frame)});
        QCOMPARE(line.InBufferCount(), std::int16_t(0));
    }

    void characters_data()
    {
        Table<QStringList, int> row("tracks", "result");
        row("ends of the ranges", {" _%?<", "0>;<", "0>;<"}, 0);
        row("31", {QString(QChar(31)), "", ""}, -6);
        row("96", {"A`", "", ""}, -6);
        row("no code", {QString(QChar(0x2013)), "", ""}, -6);
        row("47", {"", "1/", ""}, -7);
        row("63", {"", "?", ""}, -7);
        row("47 on track 3", {"", "", "/"}, -8);
        row("63 on track 3", {"", "", "1?"}, -8);
        row("the first counts", {"a", "", "/"}, -6);
    }
    void characters()
    {
        QFETCH(QStringList, tracks);
        QFETCH(int, result);
        for (const bool open : {true, false}) {
            ReaderBench t;
            t.comm.open = open;
            t.comm.received = Accepted;
            QCOMPARE(t.write(tracks), result != 0 || open ? result : -3);
            QCOMPARE(t.comm.sent.isEmpty(), result != 0 || !open);
        }
    }

    /// What a write and the commands return for an answer; 1 means 0 with a message box.
    void answers_data()
    {
        Table<QByteArray, int, int> row("answer", "written", "commanded");
        row("ACK", Accepted, 0, 0);
        row("NAK", "\2\x15\3", -5, -3);
        row("29", "\2\x1D\3", -10, 0);
        row("no STX", "x\6\3", 0, -3);
        row("only STX", "\2", 1, 1);
        row("one byte", "x", 1, -3);
    }
    void answers()
    {
        QFETCH(QByteArray, answer);
        QFETCH(int, written);
        QFETCH(int, commanded);
        ReaderBench t;
        // It arrives late and in pieces: the wait is unlimited, but the answer has half a second.
        t.host.script[50000] = [&] { t.comm.received = answer.left(1); };
        t.host.script[50500] = [&] { t.comm.received = answer; };
        QCOMPARE(t.write({"", "1", ""}), written == 1 ? 0 : written);
        QCOMPARE(t.host.ticks, 50501U); // 500 ms are not yet more than 500
        QCOMPARE(t.host.boxes, QStringList(written == 1, OutOfRange));
        t.comm.received = Accepted;
        QCOMPARE(t.write({"", "2", ""}), 0);

        t.host.boxes.clear();
        t.comm.sent.clear();
        t.comm.received = answer;
        QByteArray given;
        QCOMPARE(t.driver.DownloadCommand(given), commanded == 1 ? 0 : commanded);
        QCOMPARE(given, answer);
        QCOMPARE(t.comm.sent, QByteArrayList{QByteArray::fromHex("021B4403")});
        t.comm.received = answer;
        QCOMPARE(setLine(t), commanded == 1 ? 0 : commanded);
        QCOMPARE(t.host.boxes, QStringList(commanded == 1 ? 2 : 0, OutOfRange));
    }

    void cancelling()
    {
        ReaderBench t;
        t.driver.Cancel(); // without effect before the write
        t.host.script[1000] = [&] {
            t.driver.Cancel();
            t.comm.received = Accepted; // too late, though in the same delivery
        };
        QCOMPARE(t.write({"", "1", ""}), -9);
        QCOMPARE(t.host.ticks, 1000U);
        QCOMPARE(t.comm.received, Accepted);

        // A write rejected for its characters does not undo the Cancel of a read.
        t.host.onEvents = [&] {
            t.driver.Cancel();
            QCOMPARE(t.write({"", "x", ""}), -7);
        };
        t.comm.received.clear();
        QCOMPARE(t.read(), -9);

        t.comm.received = Accepted;
        t.host.onEvents = [&] { t.driver.Cancel(); }; // too late, in the half second
        QCOMPARE(t.write({"", "1", ""}), 0);
    }

    void a_write_inside_a_write_sends_nothing_and_a_read_takes_the_answer()
    {
        ReaderBench t;
        t.host.script[10] = [&] {
            QCOMPARE(t.write({"", "9", ""}), 0);
            t.comm.received = "\2;5?\3";
        };
        t.host.script[20] = [&] {
            QCOMPARE(t.read(), 0);
            QCOMPARE(t.tracks[1], QStringLiteral("5"));
        };
        QCOMPARE(t.write({"", "1", ""}), 0);
        QCOMPARE(t.comm.sent, QByteArrayList{"\2;1?\3"});
        QCOMPARE(t.host.boxes, QStringList(OutOfRange));
    }

    void failures()
    {
        ReaderBench t;
        const QString half(16383, u'1');
        QCOMPARE(t.write({QString(32768, u'a'), "", ""}), 0); // before the character is checked
        QCOMPARE(t.write({QString(32767, u'a'), "", ""}), -6);
        QCOMPARE(t.write({"", half, half}), 0);
        QCOMPARE(t.driver.SetBaudRate_BCC("9600,n,8,1", True, 1), 0);
        QVERIFY(t.comm.sent.isEmpty());

        t.comm.open = false;
        QByteArray given("before");
        QCOMPARE(t.driver.DownloadCommand(given), 0);
        QCOMPARE(given, QByteArray("before"));
        QCOMPARE(setLine(t), 0);

        t.comm.open = true;
        t.host.onEvents = [&] { t.comm.broken = true; }; // unplugged during the wait
        QCOMPARE(t.write({"", "1", ""}), 0);
        QCOMPARE(t.host.boxes,
                 QStringList({"Tavrel: Overflow", "Tavrel: Overflow", "Tavrel: Type mismatch",
                              "Tavrel: broken", "Tavrel: broken", "Tavrel: broken"}));
        t.host.onEvents = {};
        t.comm.broken = false;
        t.comm.received = Accepted;
        const QString fitting(16381, u'1'); // two of them go up to index 32767
        QCOMPARE(t.write({"", fitting, fitting}), 0);
        QCOMPARE(t.comm.sent.last().size(), 32768);
        QCOMPARE(t.host.boxes.size(), 6);
        t.driver.BCC(True);
        QCOMPARE(t.write({"", fitting, fitting}), 0);
        QCOMPARE(t.host.boxes.size(), 7);
    }

    void parameters_data()
    {
        Table<QByteArray, QString, int, QString> row("frame", "rate", "bcc", "oldParity");
        row("02 1B 53 17 03", "9600,e,8,1", True, "n");
        row("02 1B 53 0D 03", "2400,n,7,2", False, "o");
        row("02 1B 53 8D 03", "2400,n,7,2", False, "e");
        row("02 1B 53 80 03", "1200,o,8,1", False, "o");
        row("02 1B 53 9A 03", "4800,m,8,1", True, "m");
        row("02 1B 53 03 03", "9600,N,8,1", False, "n");
        row("02 1B 53 93 03", "9600,o", True, "e");       // the block check's bit counts too
        row("02 1B 53 00 03", "19200,s,8,1", False, "s"); // the sixth character is a comma
        row("02 1B 53 00 03", "", 1, "E");
        row("02 1B 53 0F 03", "9600,s", False, "");
    }
    void parameters()
    {
        QFETCH(QByteArray, frame);
        QFETCH(QString, rate);
        QFETCH(int, bcc);
        QFETCH(QString, oldParity);
        ScriptedHost host;
        AcceptingLine line;
        CMRW driver(host, line);
        driver.Settings("as it was");
        QCOMPARE(driver.SetBaudRate_BCC(rate, static_cast<Boolean>(bcc), oldParity), 0);
        QCOMPARE(line.sent, QByteArrayList{QByteArray::fromHex(frame)});
        QCOMPARE(driver.Settings(), QStringLiteral("as it was"));
        QCOMPARE(driver.BCC(), False);
    }

    void a_reader_that_refuses_a_line_keeps_its_block_check()
    {
        ReaderProtocol reader;
        for (const auto &[manner, checks] : {std::pair(ReaderProtocol::Manner::Nak, false),
                                             std::pair(ReaderProtocol::Manner::Accept, true)}) {
            reader.manner = manner;
            reader.receive(QByteArray::fromHex("021B531703"));
            QCOMPARE(reader.blockCheck, checks);
        }
    }

    /// The reader answers at the given poll, 10 ms after the previous one; poll 0 means never.
    void polls_data()
    {
        Table<int, int> row("poll", "result");
        for (const int poll : {1, 10, 11})
            row(poll, 0);
        for (const int poll : {12, 15, 16, 0})
            row(poll, -4);
    }
    void polls()
    {
        QFETCH(int, poll);
        QFETCH(int, result);
        for (const bool isDownload : {true, false}) {
            ReaderBench t;
            if (poll > 0) // it comes after 101 ms
                t.host.script[poll * 101U] = [&] { t.comm.received = "\2\6+read by me\3"; };
            t.host.onEvents = [&] { t.driver.Cancel(); }; // without effect
            QByteArray answer("before");
            QCOMPARE(isDownload ? t.driver.DownloadCommand(answer) : setLine(t), result);
            const int last = isDownload ? 16 : 11;
            const bool isMet = poll > 0 && poll <= last;
            QCOMPARE(t.host.ticks, isMet ? poll * 101U + 501U : last * 101U);
            QCOMPARE(t.comm.received.isEmpty(), result == 0 || !isMet);
            QCOMPARE(answer, isDownload && result == 0 ? "\2\6+read by me\3" : "before");
            QVERIFY(t.host.boxes.isEmpty());
        }
    }
};

QTEST_GUILESS_MAIN(TestWriting)
#include "tst_writing.moc"
