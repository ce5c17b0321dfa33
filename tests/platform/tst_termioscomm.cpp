#include "platform/EventLoopHost.h"
#include "platform/Failure.h"
#include "platform/TermiosComm.h"
#include "tests/doubles/TemporaryHome.h"
#include "tools/VirtualReader.h"

#include <QtTest>

#include <fcntl.h>

/// The real host where nothing is shown.
class QuietHost : public EventLoopHost
{
public:
    using Host::MsgBox;
    void MsgBox(const QString &, const QString &, MsgBoxIcon) override {}
};

static bool opens(TermiosComm &comm)
{
    try {
        comm.PortOpen(true);
    } catch (const Failure &) {
    }
    return comm.PortOpen();
}

static qsizetype openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
}

class TestTermiosComm : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void settings_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<uint>("rate");
        QTest::addColumn<uint>("bits");
        const auto row = [](const char *text, bool valid, uint rate = 0, uint bits = 0) {
            QTest::addRow("'%s'", text) << QString::fromLatin1(text) << valid << rate << bits;
        };
        row("9600,N,8,1", true, B9600, CS8);
        row("4800,O,7,1", true, B4800, CS7 | PARENB | PARODD);
        row("2400,S,7,1", true, B2400, CS7 | PARENB | CMSPAR);
        row("1200,e,7,2", true, B1200, CS7 | PARENB | CSTOPB);
        row("115200,M,8,2", true, B115200, CS8 | PARENB | PARODD | CMSPAR | CSTOPB);
        for (const char *bad : {"", "9600", "9600,N,8", "9600,X,8,1", "9601,N,8,1", "9600,N,6,1",
                                "9600,N,8,1.5", "9600,N,8,1,", "-9600,N,8,1"})
            row(bad, false);
    }
    void settings()
    {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        try {
            const LineSettings parsed = parseLineSettings(text);
            QVERIFY(valid);
            QTEST(uint(parsed.rate), "rate");
            QTEST(uint(parsed.controlBits), "bits");
            QCOMPARE(parsed.checksParity, (parsed.controlBits & PARENB) != 0);
        } catch (const Failure &failure) {
            QVERIFY(!valid);
            QCOMPARE(failure.number, EINVAL);
        }
    }

    /// Good bytes, a good FF, a byte in error and a byte 00 in error, cut at every place.
    void marks()
    {
        const QByteArray raw("A\xFF\xFF"
                             "B\xFF\0X\xFF\0\0C",
                             11);
        for (qsizetype cut = 0; cut <= raw.size(); ++cut) {
            ParityMarks marks;
            QByteArray decoded = marks.decode(raw.left(cut));
            decoded += marks.decode(raw.mid(cut));
            QCOMPARE(decoded, QByteArray("A\xFF"
                                         "B??C"));
        }
    }

    void device_of_a_port()
    {
        const TemporaryHome home;
        QCOMPARE(serialDevice(31), QStringLiteral("/dev/ttyS30"));
        const QString link = home.path(QStringLiteral("Tavrel/COM31"));
        QVERIFY(QFile::link(QStringLiteral("/nowhere/at/all"), link));
        QCOMPARE(serialDevice(31), link);
    }

    void not_to_be_opened()
    {
        const qsizetype before = openDescriptors();
        for (const char *path : {"/nowhere", "/dev/null", "/"}) {
            TermiosComm comm([path](std::int16_t) { return QString::fromLatin1(path); });
            QVERIFY(!opens(comm));
            QVERIFY_EXCEPTION_THROWN(comm.Output("x"), Failure);
            QCOMPARE(comm.InBufferCount(), std::int16_t(0));
            QVERIFY(comm.Input().isEmpty());
        }
        QCOMPARE(openDescriptors(), before);
    }

    void takes_the_line_for_itself_and_gives_it_back()
    {
        VirtualReader reader;
        TermiosComm first = onLine(reader);
        TermiosComm second = onLine(reader);
        QVERIFY(opens(first));
        QVERIFY(!opens(second));
        first.PortOpen(false);
        QVERIFY(opens(second));
    }

    void what_waited_from_before_is_thrown_away()
    {
        VirtualReader reader;
        TermiosComm comm = onLine(reader);
        reader.send("old");
        QVERIFY(opens(comm));
        reader.send("new");
        QTRY_COMPARE(comm.InBufferCount(), std::int16_t(3));
        QCOMPARE(comm.Input(), QByteArray("new"));
        QVERIFY(comm.Input().isEmpty());
    }

    void every_byte_passes()
    {
        QByteArray all;
        for (int byte = 0; byte < 256; ++byte)
            all += char(byte);
        for (const char *format : {"9600,N,8,1", "9600,O,7,1"}) {
            VirtualReader reader;
            TermiosComm comm = onLine(reader);
            comm.Settings(QString::fromLatin1(format));
            QVERIFY(opens(comm));
            reader.send(all);
            QTRY_COMPARE(comm.InBufferCount(), std::int16_t(256));
            QCOMPARE(comm.Input(), all);
            comm.Output(all);
            QCOMPARE(reader.receive(all.size()), all);
        }
    }

    void nothing_stays_of_earlier_line_flags()
    {
        VirtualReader reader;
        const FileDescriptor line(::open(reader.device().toUtf8().constData(), O_RDWR | O_NOCTTY));
        termios flags = {};
        tcgetattr(line.get(), &flags);
        flags.c_iflag |= IGNPAR | INPCK | IXOFF | IXANY | ISTRIP;
        QCOMPARE(tcsetattr(line.get(), TCSANOW, &flags), 0);
        for (const bool checked : {false, true}) {
            TermiosComm comm = onLine(reader);
            comm.Settings(checked ? QStringLiteral("9600,O,7,1") : QStringLiteral("9600,N,8,1"));
            QVERIFY(opens(comm));
            tcgetattr(line.get(), &flags);
            QCOMPARE(flags.c_iflag, tcflag_t(checked ? IGNBRK | INPCK | PARMRK : IGNBRK));
        }
    }

    void waiting_bytes_are_bounded()
    {
        VirtualReader reader;
        TermiosComm comm = onLine(reader);
        QVERIFY(opens(comm));
        reader.send(QByteArray(1500, 'a'));
        QTRY_COMPARE(comm.InBufferCount(), std::int16_t(1024));
        QTest::qWait(0); // lets the rest, if any, come in and be dropped
        QCOMPARE(comm.Input(), QByteArray(1024, 'a'));
    }

    void output_does_not_block()
    {
        VirtualReader reader;
        TermiosComm comm = onLine(reader);
        QVERIFY(opens(comm));
        QByteArray much;
        for (int i = 0; i < 20000; ++i)
            much += QByteArray::number(i);
        comm.Output(much.left(7));
        comm.Output(much.mid(7));
        QByteArray arrived;
        QTRY_VERIFY((arrived += reader.receive(0)).size() == much.size());
        QVERIFY(arrived == much);
    }

    void a_byte_ends_the_wait()
    {
        VirtualReader reader;
        TermiosComm comm = onLine(reader);
        QVERIFY(opens(comm));
        QuietHost host;
        int idlePasses = 0;
        while (comm.InBufferCount() == 0 && idlePasses < 1000) {
            if (idlePasses++ == 3)
                reader.send("x");
            host.DoEvents();
        }
        QCOMPARE(comm.Input(), QByteArray("x"));
    }

    void a_pulled_reader_leaves_the_port_open_in_name()
    {
        TermiosComm comm([this](std::int16_t) { return m_device; });
        for (const bool met_by_event : {false, true}) {
            auto reader = std::make_unique<VirtualReader>();
            m_device = reader->device();
            QVERIFY(opens(comm));
            reader->send("half a fra");
            QTRY_COMPARE(comm.InBufferCount(), std::int16_t(10));
            comm.Input();
            reader.reset();
            const qsizetype held = openDescriptors();
            if (met_by_event)
                QTRY_COMPARE(openDescriptors(), held - 1);
            QCOMPARE(comm.InBufferCount(), std::int16_t(0));
            QCOMPARE(openDescriptors(), held - 1);
            QVERIFY(comm.PortOpen());
            QVERIFY_EXCEPTION_THROWN(comm.Output("x"), Failure);
            comm.PortOpen(false);
            QVERIFY(!comm.PortOpen());
        }
    }

private:
    static TermiosComm onLine(const VirtualReader &reader)
    {
        return TermiosComm([device = reader.device()](std::int16_t) { return device; });
    }

    QString m_device;
};

QTEST_GUILESS_MAIN(TestTermiosComm)
#include "tst_termioscomm.moc"
