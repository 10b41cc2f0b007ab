// The reader thread through real sources: a pipe, a replayed file, UDP datagrams on 127.0.0.1
// and a pseudo-terminal standing in for a serial port. Every sample must reach its series once
// and in order, header names must arrive, and bad lines must be counted and skipped.
#include "filesource.h"
#include "streamreader.h"
#include "textlineparser.h"
#include "udpsource.h"
#ifdef KIVSCOPE_SERIAL
#include "serialsource.h"
#endif

#include <kiv_dataset.h>

#include <QTemporaryFile>
#include <QUdpSocket>
#include <QtTest>

#include <random>
#include <thread>

#include <pty.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr int Patience = 60000; // ms; generous on a loaded machine, never reached when all is well

// A reader feeding series that the test makes when the columns are known, as the window does.
class Run
{
public:
    Run(std::unique_ptr<StreamSource> source, int dims = 1, double rate = 0.0)
        : reader(std::make_unique<StreamReader>(std::move(source), std::make_unique<TextLineParser>(), dims, rate))
    {
        QObject::connect(reader.get(), &StreamReader::columnsKnown, reader.get(), [this, dims](int columns, QStringList n) {
            names = n;
            std::vector<KivDataSet*> raw;
            for (int i = 0; i < columns / dims; ++i) {
                sets.emplace_back(std::make_unique<KivDataSet>(100, 100));
                sets.back()->setStyle(unsigned(dims - 1));
                raw.push_back(sets.back().get());
            }
            reader->attach(raw);
        });
        reader->start();
    }

    // The values of series `s`, all dimensions interleaved; the test thread draws.
    std::vector<double> values(std::size_t s)
    {
        sets[s]->flush();
        std::vector<double> v(sets[s]->getDisplayItemCount() * unsigned(sets[s]->dimensions()));
        sets[s]->copyData(0, sets[s]->getDisplayItemCount(), v.data());
        return v;
    }

    // Compares series `s` with `count` samples whose value d is `f(i, d)`.
    template <typename F>
    bool matches(std::size_t s, unsigned long count, F f)
    {
        const std::vector<double> v = values(s);
        const int dims = sets[s]->dimensions();
        if (v.size() != count * unsigned(dims))
            return false;
        for (unsigned long i = 0; i < count; ++i) {
            for (int d = 0; d < dims; ++d) {
                if (v[i * unsigned(dims) + unsigned(d)] != f(i, d))
                    return false;
            }
        }
        return true;
    }

    std::vector<std::unique_ptr<KivDataSet>> sets;
    QStringList names;
    std::unique_ptr<StreamReader> reader; // declared last: stops before the series go
};

QByteArray line(unsigned long i)
{
    return QByteArray::number(qulonglong(i)) + ",-" + QByteArray::number(qulonglong(i)) + '\n';
}

void writeAll(int fd, const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n <= 0)
            return;
        data += n;
        size -= std::size_t(n);
    }
}

} // namespace

class TestStreamReader : public QObject
{
    Q_OBJECT

private slots:
    void pipeKeepsEverySampleInOrder();
    void fileReplay_data();
    void fileReplay();
    void udpDatagrams();
    void serialPseudoTerminal();
};

// The stress case: a writer thread, the reader thread and this thread flushing as a painter.
void TestStreamReader::pipeKeepsEverySampleInOrder()
{
    const unsigned long rows = 200000;
    int fds[2];
    QCOMPARE(::pipe(fds), 0);
    std::thread writer([fd = fds[1], rows] {
        QByteArray text = "up,down\n";
        for (unsigned long i = 0; i < rows; ++i) {
            text += line(i);
            if (i % 10000 == 5000)
                text += "oops\n";
        }
        text += QByteArray(20000, '9') + "\n";
        // Irregular pieces, so that lines are split anywhere.
        std::minstd_rand random(3);
        for (int at = 0; at < text.size();) {
            const int n = qMin(text.size() - at, 1 + int(random() % 5000));
            writeAll(fd, text.constData() + at, std::size_t(n));
            at += n;
        }
        ::close(fd);
    });
    Run run(std::make_unique<FileSource>(fds[0], true, "pipe", false));
    QElapsedTimer waited;
    waited.start();
    while (!run.reader->isFinished() && waited.elapsed() < Patience) {
        for (auto& set : run.sets)
            set->flush();
        QTest::qWait(2);
    }
    QVERIFY(run.reader->isFinished());
    writer.join();
    QCOMPARE(run.names, QStringList({"up", "down"}));
    QCOMPARE(run.reader->rowsRead(), rows);
    QVERIFY(run.matches(0, rows, [](unsigned long i, int) { return double(i); }));
    QVERIFY(run.matches(1, rows, [](unsigned long i, int) { return -double(i); }));
    QCOMPARE(run.reader->problems(RowDecoder::Malformed), 20UL);
    QCOMPARE(run.reader->problems(RowDecoder::TooLong), 1UL);
}

void TestStreamReader::fileReplay_data()
{
    QTest::addColumn<double>("rate");
    QTest::addColumn<int>("dims");
    QTest::addColumn<int>("series");

    QTest::newRow("as fast as possible, one column each") << 0.0 << 1 << 5;
    QTest::newRow("paced, x/y pairs, the odd column dropped") << 40000.0 << 2 << 2;
    QTest::newRow("paced, x/y/z triples, two columns dropped") << 40000.0 << 3 << 1;
}

void TestStreamReader::fileReplay()
{
    QFETCH(double, rate);
    QFETCH(int, dims);
    QFETCH(int, series);
    const unsigned long rows = 4000;
    QTemporaryFile file;
    QVERIFY(file.open());
    // Column c holds (c + 1) * i.
    for (unsigned long i = 0; i < rows; ++i) {
        QByteArray row;
        for (unsigned long c = 1; c <= 5; ++c)
            row += QByteArray::number(qulonglong(c * i)) + ' ';
        file.write(row + '\n');
    }
    file.close();
    QString error;
    std::unique_ptr<FileSource> source = FileSource::open(file.fileName(), error);
    QVERIFY2(source && source->isReplayable(), qPrintable(error));
    Run run(std::move(source), dims, rate);
    QTRY_VERIFY_WITH_TIMEOUT(run.reader->isFinished(), Patience);
    QCOMPARE(int(run.sets.size()), series);
    QCOMPARE(run.reader->rowsRead(), rows);
    for (int s = 0; s < series; ++s)
        QVERIFY(run.matches(std::size_t(s), rows, [s, dims](unsigned long i, int d) { return double((s * dims + d + 1) * i); }));
}

void TestStreamReader::udpDatagrams()
{
    quint16 port;
    {
        QUdpSocket probe;
        QVERIFY(probe.bind(QHostAddress(QHostAddress::LocalHost), 0));
        port = probe.localPort();
    }
    QString error;
    std::unique_ptr<UdpSource> source = UdpSource::bind("127.0.0.1", port, error);
    QVERIFY2(source, qPrintable(error));
    Run run(std::move(source));
    QUdpSocket sender;
    QVERIFY(sender.writeDatagram("left;right\n", QHostAddress::LocalHost, port) > 0);
    // Each datagram ends its last line, newline or not; one bad line in every datagram.
    const unsigned long perDatagram = 25;
    unsigned long sent = 0;
    for (int d = 0; d < 200; ++d) {
        QByteArray datagram = "x;y\n";
        for (unsigned long i = 0; i < perDatagram; ++i)
            datagram += line(sent++).replace(',', ';');
        datagram.chop(1);
        QVERIFY(sender.writeDatagram(datagram, QHostAddress::LocalHost, port) > 0);
        // The kernel may drop datagrams that arrive faster than they are read: keep in step.
        if (d % 20 == 19)
            QTRY_COMPARE_WITH_TIMEOUT(run.reader->rowsRead(), qulonglong(sent), Patience);
    }
    QCOMPARE(run.names, QStringList({"left", "right"}));
    QVERIFY(run.matches(0, sent, [](unsigned long i, int) { return double(i); }));
    QVERIFY(run.matches(1, sent, [](unsigned long i, int) { return -double(i); }));
    QCOMPARE(run.reader->problems(RowDecoder::Malformed), 200UL);
}

void TestStreamReader::serialPseudoTerminal()
{
#ifndef KIVSCOPE_SERIAL
    QSKIP("built without Qt SerialPort");
#else
    int master = -1;
    int slave = -1;
    char device[256];
    QCOMPARE(::openpty(&master, &slave, device, nullptr, nullptr), 0);
    termios raw;
    ::tcgetattr(slave, &raw);
    ::cfmakeraw(&raw);
    ::tcsetattr(slave, TCSANOW, &raw);
    Run run(std::make_unique<SerialSource>(QString::fromLocal8Bit(device), 115200));
    unsigned long sent = 0;
    for (int chunk = 0; chunk < 20; ++chunk) {
        QByteArray text;
        for (int i = 0; i < 100; ++i)
            text += line(sent++).replace(',', '\t');
        writeAll(master, text.constData(), std::size_t(text.size()));
        QTRY_COMPARE_WITH_TIMEOUT(run.reader->rowsRead(), qulonglong(sent), Patience);
    }
    QCOMPARE(run.reader->problems(RowDecoder::SourceLost), 0UL);
    // The far end goes away, as an unplugged adapter does: counted once, nothing else.
    ::close(master);
    QTRY_COMPARE_WITH_TIMEOUT(run.reader->problems(RowDecoder::SourceLost), 1UL, Patience);
    ::close(slave);
    QVERIFY(run.matches(0, sent, [](unsigned long i, int) { return double(i); }));
    QVERIFY(run.matches(1, sent, [](unsigned long i, int) { return -double(i); }));
#endif
}

QTEST_GUILESS_MAIN(TestStreamReader)
#include "tst_streamreader.moc"
