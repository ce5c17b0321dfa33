#include "platform/TermiosComm.h"
#include "tests/doubles/ReaderBench.h"
#include "tools/VirtualReader.h"

#include <QtTest>

static const QByteArray Accepted("\2\6\3");

static std::int32_t write(ReaderBench &bench, const QStringList &tracks)
{
    return bench.driver.WriteTracks(1, tracks[0], tracks[1], tracks[2]);
}

/// What an operation of a driver sends, on a real line whose reader accepts it.
static QByteArray sentOnALine(qsizetype size, const std::function<void(CMRW &)> &operation)
{
    VirtualReader reader;
    TermiosComm line([&](std::int16_t) { return reader.device(); });
    ScriptedHost host;
    CMRW driver(host, line);
    driver.Settings(QStringLiteral("9600,N,8,1"));
    QByteArray sent;
    host.onEvents = [&](int pass) {
        if (pass != 1)
            return;
        sent = reader.receive(size);
        reader.send(Accepted);
        while (line.InBufferCount() < Accepted.size()) {
        }
    };
    if (driver.Connect() != CMRW::Success)
        return "not connected";
    operation(driver);
    return host.boxes.isEmpty() ? sent : "failed";
}

static const ScriptedHost::Box OutOfRange{"Subscript out of range", "Tavrel", MsgBoxIcon::None};
static const ScriptedHost::Box Broken{"broken", "Tavrel", MsgBoxIcon::None};
static const ScriptedHost::Box TooLong{"Overflow", "Tavrel", MsgBoxIcon::None};

class TestWriting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void frames_data()
    {
        QTest::addColumn<QStringList>("tracks");
        QTest::addColumn<int>("deviceType");
        QTest::addColumn<int>("bcc");
        QTest::addColumn<QByteArray>("frame");
        const auto row = [](const char *hex, const QStringList &tracks, int deviceType, int bcc) {
            QTest::newRow(hex) << tracks << deviceType << bcc << QByteArray::fromHex(hex);
        };
        const QStringList full{"ABC", "123", "45"};
        row("02 3B 31 32 33 34 3F 03", {"", "1234", ""}, 0, False);
        row("02 3B 35 3F 03 32", {"", "5", ""}, 0, True);
        row("02 25 41 42 43 3C 3B 31 32 33 3C 2B 34 35 3C 03", full, 1, False);
        row("02 25 41 42 43 3C 3B 31 32 33 3C 2B 34 35 3C 03 7B", full, 1, True);
        row("02 03", {"", "", ""}, 0, False);
        row("02 03 03", {"", "", ""}, 0, True);
        row("02 2B 3C 3F 03", {"", "", "<"}, 2, 1); // 1 is not True, and 2 no sentinel
    }
    void frames()
    {
        QFETCH(QStringList, tracks);
        QFETCH(int, deviceType);
        QFETCH(int, bcc);
        QFETCH(QByteArray, frame);
        ReaderBench t;
        t.driver.DeviceType(deviceType);
        t.driver.BCC(static_cast<Boolean>(bcc));
        t.host.onEvents = [&](int pass) {
            t.comm.received = pass == 1 ? Accepted : t.comm.received;
        };
        QCOMPARE(write(t, tracks), 0);
        QCOMPARE(t.comm.sent, QByteArrayList{frame});
        QVERIFY(t.comm.received.isEmpty());
        QCOMPARE(sentOnALine(frame.size(),
                             [&](CMRW &driver) {
                                 driver.DeviceType(deviceType);
                                 driver.BCC(static_cast<Boolean>(bcc));
                                 QCOMPARE(driver.WriteTracks(0, tracks[0], tracks[1], tracks[2]),
                                          0);
                             }),
                 frame);
    }

    void characters_data()
    {
        QTest::addColumn<QStringList>("tracks");
        QTest::addColumn<int>("result");
        const auto row = [](const char *name, const QStringList &tracks, int result) {
            QTest::newRow(name) << tracks << result;
        };
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
            QCOMPARE(write(t, tracks), result != 0 || open ? result : -3);
            QCOMPARE(t.comm.sent.isEmpty(), result != 0 || !open);
            t.comm.open = true;
            t.comm.received = Accepted;
            QCOMPARE(write(t, {"", "1", ""}), 0);
        }
    }

    void answers_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("boxes");
        QTest::newRow("ACK") << Accepted << 0 << 0;
        QTest::newRow("NAK") << QByteArray("\2\x15\3") << -5 << 0;
        QTest::newRow("29") << QByteArray("\2\x1D\3") << -10 << 0;
        QTest::newRow("noise") << QByteArray("zz") << 0 << 0;
        QTest::newRow("one byte") << QByteArray("\2") << 0 << 1;
    }
    void answers()
    {
        QFETCH(QByteArray, answer);
        ReaderBench t;
        // It comes late and in pieces: the wait has no limit, and the answer half a second.
        t.host.onEvents = [&](int pass) {
            if (pass == 5000)
                t.comm.received = answer.left(1);
            if (pass == 5049)
                t.comm.received = answer;
        };
        QTEST(write(t, {"", "1", ""}), "result");
        QCOMPARE(t.host.passes, 5000 + 51); // 500 ms are not yet more than 500
        QFETCH(int, boxes);
        QCOMPARE(t.host.boxes, QList<ScriptedHost::Box>(boxes, OutOfRange));
        t.comm.received = Accepted;
        QCOMPARE(write(t, {"", "2", ""}), 0);
        QCOMPARE(t.comm.sent.size(), 2);
    }

    void cancelling()
    {
        ReaderBench t;
        t.driver.Cancel(); // without effect before the write
        t.host.onEvents = [&](int pass) {
            if (pass == 100)
                t.driver.Cancel();
        };
        QCOMPARE(write(t, {"", "1", ""}), -9);
        QCOMPARE(t.host.passes, 100);

        t.comm.received = Accepted;
        t.host.onEvents = [&](int) { t.driver.Cancel(); }; // too late, in the half second
        QCOMPARE(write(t, {"", "1", ""}), 0);
    }

    void a_write_inside_a_write_sends_nothing_and_a_read_takes_the_answer()
    {
        ReaderBench t;
        t.host.onEvents = [&](int pass) {
            if (pass == 1) {
                QCOMPARE(write(t, {"", "9", ""}), 0);
                t.comm.received = "\2;5?\3";
            } else if (pass == 2) {
                QCOMPARE(t.read(), 0);
                QCOMPARE(t.tracks[1], QStringLiteral("5"));
            }
        };
        QCOMPARE(write(t, {"", "1", ""}), 0);
        QCOMPARE(t.comm.sent, QByteArrayList{"\2;1?\3"});
        QCOMPARE(t.host.boxes, {OutOfRange});
    }

    void failures()
    {
        ReaderBench t;
        const QString tooLong(32768, u'1');
        QCOMPARE(write(t, {tooLong.toLower().replace(u'1', u'a'), "", ""}), 0);
        QCOMPARE(write(t, {"", tooLong.left(16383), tooLong.left(16383)}), 0);
        QCOMPARE(t.host.boxes, QList<ScriptedHost::Box>(2, TooLong));
        QVERIFY(t.comm.sent.isEmpty());

        t.host.boxes.clear();
        t.host.onEvents = [&](int) { t.comm.broken = true; }; // pulled out in the wait
        QCOMPARE(write(t, {"", "1", ""}), 0);
        QCOMPARE(t.host.boxes, {Broken});
        t.host.onEvents = {};
        t.comm.broken = false;
        t.comm.received = Accepted;
        QCOMPARE(write(t, {"", "1", ""}), 0);
        QCOMPARE(t.host.boxes.size(), 1);
    }

    void parameters_data()
    {
        QTest::addColumn<QString>("rate");
        QTest::addColumn<int>("bcc");
        QTest::addColumn<QVariant>("oldParity");
        QTest::addColumn<QByteArray>("frame");
        const auto row = [](const char *hex, const char *rate, int bcc, const char *oldParity) {
            QTest::newRow(qPrintable(QStringLiteral("%1 %2").arg(rate, oldParity)))
                << QString(rate) << bcc << QVariant(QString(oldParity)) << QByteArray::fromHex(hex);
        };
        row("02 1B 53 17 03", "9600,e,8,1", True, "n");
        row("02 1B 53 0D 03", "2400,n,7,2", False, "o");
        row("02 1B 53 8D 03", "2400,n,7,2", False, "e");
        row("02 1B 53 80 03", "1200,o,8,1", False, "o");
        row("02 1B 53 9A 03", "4800,m,8,1", True, "m");
        row("02 1B 53 03 03", "9600,N,8,1", False, "n");
        row("02 1B 53 00 03", "19200,s,8,1", False, "s"); // the sixth character is a comma
        row("02 1B 53 00 03", "", 1, "E");
        row("02 1B 53 0F 03", "9600,s", False, "");
    }
    void parameters()
    {
        QFETCH(QString, rate);
        QFETCH(int, bcc);
        QFETCH(QVariant, oldParity);
        QFETCH(QByteArray, frame);
        ReaderBench t;
        t.driver.Settings(QStringLiteral("as it was"));
        t.comm.received = Accepted;
        QCOMPARE(t.driver.SetBaudRate_BCC(rate, static_cast<Boolean>(bcc), oldParity), 0);
        QCOMPARE(t.comm.sent, QByteArrayList{frame});
        QCOMPARE(t.driver.Settings(), QStringLiteral("as it was"));
        QCOMPARE(t.driver.BCC(), False);
        QCOMPARE(sentOnALine(frame.size(),
                             [&](CMRW &driver) {
                                 QCOMPARE(driver.SetBaudRate_BCC(rate, static_cast<Boolean>(bcc),
                                                                 oldParity),
                                          0);
                             }),
                 frame);
    }

    /// The answer of a reader at the given poll, the hundredth of a second after the last one;
    /// poll 0 stands for never.
    void polls_data()
    {
        QTest::addColumn<int>("download");
        QTest::addColumn<int>("setLine");
        for (const int poll : {1, 10, 11})
            QTest::addRow("%d", poll) << 0 << 0;
        for (const int poll : {12, 15, 16, 0})
            QTest::addRow("%d", poll) << -4 << -4;
    }
    void polls()
    {
        QFETCH(int, download);
        QFETCH(int, setLine);
        const int poll = QByteArray(QTest::currentDataTag()).toInt();
        for (const bool isDownload : {true, false}) {
            ReaderBench t;
            // A poll is 11 passes of 10 ms, more than 100, and one behind it.
            t.host.onEvents = [&](int pass) {
                if (pass == poll * 12 - 1)
                    t.comm.received = "\2\6+read by me\3";
                t.driver.Cancel();
            };
            QByteArray answer("before");
            const std::int32_t result =
                isDownload ? t.driver.DownloadCommand(answer)
                           : t.driver.SetBaudRate_BCC("9600,n,8,1", False, QVariant("n"));
            QCOMPARE(result, isDownload ? download : setLine);
            const bool isMet = poll > 0 && poll <= (isDownload ? 16 : 11);
            const int polled = isMet ? poll * 12 - 1 + 51 : (isDownload ? 16 : 11) * 12;
            QCOMPARE(t.host.passes, polled);
            QCOMPARE(t.comm.received.isEmpty(), result == 0 || poll == 0 || !isMet);
            QCOMPARE(answer, isDownload && result == 0 ? "\2\6+read by me\3" : "before");
            QVERIFY(t.host.boxes.isEmpty());
        }
    }

    void commandAnswers_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("boxes");
        QTest::newRow("accepted") << Accepted << 0 << 0;
        QTest::newRow("NAK") << QByteArray("\2\x15\3") << -3 << 0;
        QTest::newRow("no STX") << QByteArray("x\6\3") << -3 << 0;
        QTest::newRow("one byte") << QByteArray("x") << -3 << 0;
        QTest::newRow("only STX") << QByteArray("\2") << 0 << 1;
    }
    void commandAnswers()
    {
        QFETCH(QByteArray, answer);
        QFETCH(int, boxes);
        ReaderBench t;
        t.comm.received = answer;
        QByteArray told;
        QTEST(t.driver.DownloadCommand(told), "result");
        QCOMPARE(told, answer);
        QCOMPARE(t.comm.sent, QByteArrayList{QByteArray::fromHex("021B4403")});
        t.comm.received = answer;
        QTEST(t.driver.SetBaudRate_BCC("9600,n,8,1", True, QVariant("n")), "result");
        QCOMPARE(t.host.boxes, QList<ScriptedHost::Box>(boxes * 2, OutOfRange));
    }

    void commandFailures()
    {
        ReaderBench t;
        QCOMPARE(t.driver.SetBaudRate_BCC("9600,n,8,1", True, QVariant(1)), 0);
        QCOMPARE(t.host.boxes, {ScriptedHost::Box({"Type mismatch", "Tavrel", MsgBoxIcon::None})});
        QVERIFY(t.comm.sent.isEmpty());

        t.host.boxes.clear();
        t.comm.open = false;
        QByteArray told("before");
        QCOMPARE(t.driver.DownloadCommand(told), 0);
        QCOMPARE(told, QByteArray("before"));
        QCOMPARE(t.driver.SetBaudRate_BCC("9600,n,8,1", True, QVariant("n")), 0);
        QCOMPARE(t.host.boxes, QList<ScriptedHost::Box>(2, Broken));
    }
};

QTEST_GUILESS_MAIN(TestWriting)
#include "tst_writing.moc"
