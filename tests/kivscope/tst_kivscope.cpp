// kivscope run as a user runs it, headless under the test's X server: a stream goes in on
// stdin, from a file or over UDP, and the counts it prints at the end must match what was sent.
#include <QProcess>
#include <QTemporaryDir>
#include <QUdpSocket>
#include <QtTest>

namespace {

constexpr int Patience = 120000; // ms; a bound for a hung run, never reached when all is well

// 500 rows "a,b" = (i, i/2) under a header, one of each bad line among them, and a row
// whose second field is not a number.
QByteArray sample()
{
    QByteArray text = "a,b\n";
    for (int i = 0; i < 500; ++i) {
        text += QByteArray::number(i) + ',' + QByteArray::number(i / 2.0) + '\n';
        if (i == 100)
            text += "junk\n" + QByteArray(10000, '1') + "\n1,2,3\n";
        if (i == 200)
            text += "7,seven\n";
    }
    return text;
}

} // namespace

class TestKivscope : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void stream_data();
    void stream();
    void electrocardiogram();

private:
    // Runs kivscope with `args`, writes `input` to its stdin, or as datagrams to `udpPort`
    // once it listens; returns what it printed.
    QString run(const QStringList& args, const QByteArray& input = QByteArray(), quint16 udpPort = 0);
};

void TestKivscope::initTestCase()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        QSKIP("kivscope needs an X display; the suite runs under xvfb-run");
}

QString TestKivscope::run(const QStringList& args, const QByteArray& input, quint16 udpPort)
{
    QProcess tool;
    tool.start(KIVSCOPE_BINARY, args);
    if (!tool.waitForStarted())
        return QString();
    if (udpPort) {
        // The tool says when its socket is bound; datagrams sent before would be lost.
        tool.setReadChannel(QProcess::StandardError);
        QByteArray err;
        while (!err.contains("reading") && tool.waitForReadyRead(Patience))
            err += tool.readAllStandardError();
        QUdpSocket sender;
        for (const QByteArray& datagram : input.split('|'))
            sender.writeDatagram(datagram, QHostAddress::LocalHost, udpPort);
    } else {
        tool.write(input);
        tool.closeWriteChannel();
    }
    tool.waitForFinished(Patience);
    return QString::fromUtf8(tool.readAllStandardOutput());
}

void TestKivscope::stream_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QStringList>("expected");

    const QStringList text = {"501 rows into 2 series", "skipped malformed=1 too-long=1 not-a-number=1 column-count=1",
                              "series \"a\": 501 samples, 0 gaps, y 0 .. 499", "series \"b\": 501 samples, 1 gaps, y 0 .. 249.5"};
    QTest::newRow("stdin") << "stdin" << QStringList{"-", "--exit-at-end", "--max", "1000"} << text;
    QTest::newRow("file as fast as possible") << "file" << QStringList{"--rate", "0", "--exit-at-end", "--max", "1000"} << text;
    QTest::newRow("file as x/y points in a 2x2 grid")
        << "file" << QStringList{"--rate", "0", "--exit-at-end", "--xy", "--style", "points", "--grid", "2x2"}
        << QStringList{"501 rows into 1 series", "series \"a / b\": 501 samples, 1 gaps, x 0 .. 499, y 0 .. 249.5"};
    QTest::newRow("binary int16 cut mid-frame")
        << "binary" << QStringList{"-", "--exit-at-end", "--binary", "int16", "--channels", "2"}
        << QStringList{"3 rows into 2 series", "cut-frame=1", "series \"column 2\": 3 samples, 0 gaps, y -6 .. -2"};
    QTest::newRow("udp") << "udp" << QStringList{"--seconds", "8", "--interval", "0.001"}
                         << QStringList{"4 rows into 3 series", "malformed=1",
                                        "series \"p\": 4 samples, 0 gaps, y 1 .. 10"};
}

void TestKivscope::stream()
{
    QFETCH(QString, source);
    QFETCH(QStringList, args);
    QFETCH(QStringList, expected);
    QTemporaryDir dir;
    QString output;
    if (source == "stdin") {
        output = run(args, sample());
    } else if (source == "file") {
        QFile file(dir.filePath("sample.csv"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(sample());
        file.close();
        output = run(QStringList{file.fileName()} + args);
    } else if (source == "binary") {
        const qint16 frames[] = {1, -2, 3, -4, 5, -6, 7};
        output = run(args, QByteArray(reinterpret_cast<const char*>(frames), sizeof frames));
    } else {
        quint16 port;
        {
            QUdpSocket probe;
            QVERIFY(probe.bind(QHostAddress(QHostAddress::LocalHost), 0));
            port = probe.localPort();
        }
        output = run(QStringList{"--udp", QString::number(port)} + args, "p q r\n1 2 3|4 5 6\n7 8 9|nonsense|10 11 12", port);
    }
    for (const QString& line : expected)
        QVERIFY2(output.contains(line), qPrintable(QString("'%1' not in:\n%2").arg(line, output)));
}

// The recorded electrocardiogram that Debian's scipy ships, as one column of millivolts:
// every sample arrives and the extents are the record's.
void TestKivscope::electrocardiogram()
{
    QTemporaryDir dir;
    const QString csv = dir.filePath("ecg.csv");
    const char* script = "import sys, scipy.misc\n"
                         "e = scipy.misc.electrocardiogram()\n"
                         "with open(sys.argv[1], 'w') as f:\n"
                         "    f.write('ecg\\n' + ''.join('%r\\n' % float(v) for v in e))\n"
                         "print(len(e), repr(float(e.min())), repr(float(e.max())))\n";
    QString record;
    for (const QString& python : {QStringLiteral("/usr/bin/python3"), QStringLiteral("python3")}) {
        QProcess p;
        p.start(python, {"-c", script, csv});
        if (p.waitForFinished(Patience) && p.exitCode() == 0) {
            record = QString::fromUtf8(p.readAllStandardOutput()).trimmed();
            break;
        }
    }
    if (record.isEmpty())
        QSKIP("no Python 3 with scipy found");
    const QStringList r = record.split(' ');
    QCOMPARE(r.size(), 3);
    const QString output = run({csv, "--rate", "0", "--exit-at-end", "--max", "200000", "--interval", "0.00277777"});
    const QString expected = QString("series \"ecg\": %1 samples, 0 gaps, y %2 .. %3")
                                 .arg(r[0])
                                 .arg(r[1].toDouble(), 0, 'g', 10)
                                 .arg(r[2].toDouble(), 0, 'g', 10);
    QVERIFY2(output.contains(expected), qPrintable(QString("'%1' not in:\n%2").arg(expected, output)));
}

QTEST_GUILESS_MAIN(TestKivscope)
#include "tst_kivscope.moc"
