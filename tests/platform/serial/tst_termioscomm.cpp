#include "platform/serial/TermiosComm.h"
#include "tests/support/Table.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/failureOf.h"
#include "tests/support/statusOf.h"
#include "tools/virtual-reader/VirtualReader.h"

#include <fcntl.h>

#include <cerrno>
#include <csignal>

using namespace Tavrel;

/// A control on a reader's line.
static TermiosComm onLine(const VirtualReader &reader)
{
    return TermiosComm([device = reader.device()](std::int16_t) { return device; });
}

/// A reader and an open port on its line.
struct OpenLine {
    OpenLine() { comm.PortOpen(true); }

    VirtualReader reader;
    TermiosComm comm = onLine(reader);
};

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
        Table<QString, int, uint, uint> row("text", "failure", "rate", "bits");
        row("9600,N,8,1", 0, B9600, CS8);
        row("4800,O,7,1", 0, B4800, CS7 | PARENB | PARODD);
        row("2400,S,7,1", 0, B2400, CS7 | PARENB | CMSPAR);
        row("1200,e,7,2", 0, B1200, CS7 | PARENB | CSTOPB);
        row("115200,M,8,2", 0, B115200, CS8 | PARENB | PARODD | CMSPAR | CSTOPB);
        for (const char *bad : {"", "9600", "9600,N,8", "9600,X,8,1", "9601,N,8,1", "9600,N,6,1",
                                "9600,N,8,1.5", "9600,N,8,1,", "-9600,N,8,1"})
            row(bad, EINVAL, 0, 0);
    }
    void settings()
    {
        QFETCH(QString, text);
        LineSettings parsed = {};
        QTEST(failureOf([&] { parsed = parseLineSettings(text); }), "failure");
        QTEST(uint(parsed.rate), "rate");
        QTEST(uint(parsed.controlBits), "bits");
        QCOMPARE(parsed.checksParity, (parsed.controlBits & PARENB) != 0);
    }

    /// Good bytes, a good FF, a faulty byte and a faulty 00, split at every position.
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

    void not_to_be_opened()
    {
        const qsizetype before = openDescriptors();
        for (const char *path : {"/nowhere", "/dev/null", "/"}) {
            TermiosComm comm([path](std::int16_t) { return QString(path); });
            QVERIFY_EXCEPTION_THROWN(comm.PortOpen(true), Failure);
            QVERIFY(!comm.PortOpen());
            QVERIFY_EXCEPTION_THROWN(comm.Output("x"), Failure);
            QCOMPARE(comm.InBufferCount(), std::int16_t(0));
            QVERIFY(comm.Input().isEmpty());
        }
        QCOMPARE(openDescriptors(), before);
    }

    void takes_the_line_for_itself_and_gives_it_back()
    {
        OpenLine line;
        TermiosComm second = onLine(line.reader);
        QVERIFY_EXCEPTION_THROWN(second.PortOpen(true), Failure);
        QVERIFY(!second.PortOpen());
        line.comm.PortOpen(false);
        line.reader.send("old"); // discarded by the next opening
        second.PortOpen(true);
        line.reader.send("new");
        QTRY_COMPARE(second.InBufferCount(), std::int16_t(3));
        QCOMPARE(second.Input(), QByteArray("new"));
        QVERIFY(second.Input().isEmpty());
    }

    /// If it did, unplugging the reader would end the clock.
    void the_line_does_not_become_the_controlling_terminal()
    {
        const VirtualReader reader;
        const int status = statusOf([&] {
            setsid();
            TermiosComm comm = onLine(reader);
            comm.PortOpen(true);
            return comm.PortOpen() && ::open("/dev/tty", O_RDWR) < 0 ? 0 : 1;
        });
        QCOMPARE(status, 0);
    }

    /// Whatever flags other programs left, and whatever format the line had before.
    void every_byte_passes_but_for_bit_7_of_seven()
    {
        VirtualReader reader;
        const FileDescriptor line(::open(qPrintable(reader.device()), O_RDWR | O_NOCTTY));
        termios flags = {};
        tcgetattr(line.get(), &flags);
        flags.c_iflag |= IGNPAR | INPCK | IXOFF | IXANY | INLCR;
        flags.c_cflag |= CRTSCTS;
        flags.c_cflag &= ~CLOCAL;
        QCOMPARE(tcsetattr(line.get(), TCSANOW, &flags), 0);

        TermiosComm comm = onLine(reader);
        const std::tuple<const char *, tcflag_t, int> formats[] = {
            {"9600,N,8,1", IGNBRK | PARMRK, 0xFF},
            {"9600,O,7,1", IGNBRK | PARMRK | INPCK | ISTRIP, 0x7F},
            {"9600,E,8,1", IGNBRK | PARMRK | INPCK, 0xFF},
            {"9600,N,8,1", IGNBRK | PARMRK, 0xFF},
        };
        for (const auto &[settings, inputFlags, bits] : formats) {
            QByteArray all;
            QByteArray expected;
            for (int byte = 0; byte < 256; ++byte) {
                all += char(byte);
                expected += char(byte & bits);
            }
            comm.Settings(settings);
            comm.PortOpen(true);
            tcgetattr(line.get(), &flags);
            QCOMPARE(flags.c_iflag, inputFlags);
            QCOMPARE(flags.c_cflag & (CRTSCTS | CLOCAL), tcflag_t{CLOCAL});
            reader.send(all);
            QTRY_COMPARE(comm.InBufferCount(), std::int16_t(256));
            QCOMPARE(comm.Input(), expected);
            comm.Output(all);
            QCOMPARE(reader.receive(all.size()), all);
            comm.PortOpen(false);
        }
    }

    void nothing_outlives_the_closing()
    {
        OpenLine line;
        line.comm.Output(QByteArray(100000, 'o')); // more than the line takes
        line.reader.send("received");
        QTRY_COMPARE(line.comm.InBufferCount(), std::int16_t(8));
        line.comm.PortOpen(false);
        QCOMPARE(line.comm.InBufferCount(), std::int16_t(0));
        line.comm.PortOpen(true);
        QCOMPARE(line.comm.InBufferCount(), std::int16_t(0));
        line.reader.receive();
        line.comm.Output("new");
        QCOMPARE(line.reader.receive(3), QByteArray("new"));
        QTest::qWait(0); // lets any remaining bytes go out
        QVERIFY(line.reader.receive().isEmpty());
    }

    void waiting_bytes_are_bounded_and_output_does_not_block()
    {
        OpenLine line;
        line.reader.send(QByteArray(1000, 'a') + QByteArray(500, 'b'));
        QTRY_COMPARE(line.comm.InBufferCount(), std::int16_t(1024));
        QTest::qWait(0); // lets any remaining bytes arrive and be dropped
        QCOMPARE(line.comm.Input(), QByteArray(1000, 'a') + QByteArray(24, 'b'));

        QByteArray much;
        for (int i = 0; i < 20000; ++i)
            much += QByteArray::number(i);
        line.comm.Output(much.left(50000)); // more than the line takes
        line.comm.Output(much.mid(50000));
        QByteArray arrived;
        QTRY_VERIFY(arrived.append(line.reader.receive(0)).size() == much.size());
        QVERIFY(arrived == much);
        QTRY_VERIFY(!QEventLoop().processEvents()); // nothing keeps the processor busy
    }

    void a_reader_takes_away_its_own_link_alone()
    {
        const TemporaryHome home;
        const QString link = home.path("COM1");
        auto first = std::make_unique<VirtualReader>();
        first->linkAt(link);
        auto second = std::make_unique<VirtualReader>();
        second->linkAt(link);
        first.reset();
        QCOMPARE(QFile::symLinkTarget(link), second->device());
        QVERIFY(QFile::link("/dev/null", home.path("COM2")));
        QVERIFY_EXCEPTION_THROWN(second->linkAt(home.path("COM2")), Failure);
        second.reset();
        QVERIFY(!QFileInfo(link).isSymLink());
        QCOMPARE(QFile::symLinkTarget(home.path("COM2")), "/dev/null");
    }

    /// Some adapters then report an error, as does another session's terminal.
    void a_line_that_only_fails_is_given_back()
    {
        const VirtualReader reader;
        const int status = statusOf([&] {
            setsid();
            const FileDescriptor terminal(::open(qPrintable(reader.device()), O_RDWR));
            return statusOf([&] {
                       std::signal(SIGTTIN, SIG_IGN);
                       std::signal(SIGTTOU, SIG_IGN);
                       setpgid(0, 0);
                       TermiosComm comm = onLine(reader);
                       comm.PortOpen(true);
                       const bool wasHeld = failureOf([&] { comm.Output("x"); }) == 0;
                       comm.InBufferCount();
                       return wasHeld && failureOf([&] { comm.Output("x"); }) == EIO ? 0 : 1;
                   }) != 0;
        });
        QCOMPARE(status, 0);
    }

    /// Whether an event, a look for input or sending detects the loss.
    void a_pulled_reader_leaves_the_port_open_in_name()
    {
        QString device;
        TermiosComm comm([&](std::int16_t) { return device; });
        enum { ByEvent, ByInput, BySending };
        for (const int met : {ByEvent, ByInput, BySending}) {
            auto reader = std::make_unique<VirtualReader>();
            device = reader->device();
            comm.PortOpen(true);
            reader->send("half a fra");
            QTRY_COMPARE(comm.InBufferCount(), std::int16_t(10));
            comm.Input();
            comm.Output(QByteArray(100000, 'o'));
            reader.reset();
            const qsizetype held = openDescriptors();
            if (met == ByEvent)
                QTRY_COMPARE(openDescriptors(), held - 1);
            else if (met == BySending)
                QVERIFY_EXCEPTION_THROWN(comm.Output("x"), Failure);
            QCOMPARE(comm.InBufferCount(), std::int16_t(0));
            QCOMPARE(openDescriptors(), held - 1);
            QVERIFY(comm.PortOpen());
            QVERIFY_EXCEPTION_THROWN(comm.Output("x"), Failure);
            comm.PortOpen(false);
            QVERIFY(!comm.PortOpen());
        }
    }
};

QTEST_GUILESS_MAIN(TestTermiosComm)
#include "tst_termioscomm.moc"
