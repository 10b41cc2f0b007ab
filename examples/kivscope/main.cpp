// kivscope: a Kiv demo host in the style of an instrument front panel, and a stream plotter.
#include "filesource.h"
#include "framedecoder.h"
#include "scopewindow.h"
#include "streamreader.h"
#include "streamwindow.h"
#include "textlineparser.h"
#include "udpsource.h"
#ifdef KIVSCOPE_SERIAL
#include "serialsource.h"
#endif

#include <kiv_dataset.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QRegularExpression>
#include <QTimer>

#include <cstdio>

namespace {

struct StreamSetup
{
    std::unique_ptr<StreamReader> reader;
    StreamWindow::Options window;
};

bool fail(const QString& message)
{
    std::fprintf(stderr, "kivscope: %s\n", qPrintable(message));
    return false;
}

std::unique_ptr<StreamSource> openSource(const QCommandLineParser& parser, QString& error)
{
    if (parser.isSet("udp")) {
        bool ok = false;
        const uint port = parser.value("udp").toUInt(&ok);
        if (!ok || port == 0 || port > 65535) {
            error = QStringLiteral("--udp needs a port number");
            return nullptr;
        }
        return UdpSource::bind(parser.value("bind"), quint16(port), error);
    }
    if (parser.isSet("serial")) {
#ifdef KIVSCOPE_SERIAL
        return std::make_unique<SerialSource>(parser.value("serial"), qMax(1, parser.value("baud").toInt()));
#else
        error = QStringLiteral("this kivscope was built without Qt SerialPort");
        return nullptr;
#endif
    }
    return FileSource::open(parser.positionalArguments().value(0), error);
}

bool setUpStream(const QCommandLineParser& parser, StreamSetup& setup)
{
    std::unique_ptr<RowDecoder> decoder;
    if (parser.isSet("binary")) {
        FrameDecoder::Type type;
        if (!FrameDecoder::typeFromName(parser.value("binary"), type))
            return fail("--binary takes int16, int32, float32 or float64");
        const int channels = parser.value("channels").toInt();
        if (channels < 1 || channels > TextLineParser::MaxColumns)
            return fail(QStringLiteral("--channels takes 1 to %1").arg(TextLineParser::MaxColumns));
        decoder = std::make_unique<FrameDecoder>(type, channels);
    } else {
        decoder = std::make_unique<TextLineParser>();
    }
    StreamWindow::Options& w = setup.window;
    if (parser.isSet("grid")) {
        const QRegularExpressionMatch m = QRegularExpression("^(\\d+)x(\\d+)$").match(parser.value("grid"));
        w.rows = m.captured(1).toInt();
        w.cols = m.captured(2).toInt();
        if (!m.hasMatch() || w.rows < 1 || w.cols < 1 || w.rows * w.cols > 64)
            return fail("--grid takes ROWSxCOLUMNS, for example 2x3");
    }
    w.max = qMax(1UL, parser.value("max").toULong());
    w.interval = qMax(0.0, parser.value("interval").toDouble());
    const QString style = parser.value("style");
    if (style == "points")
        w.shape = KivDataStylePoints;
    else if (style == "bars")
        w.shape = KivDataStyleBar;
    else if (style != "line")
        return fail("--style takes line, points or bars");
    w.reportToStderr = parser.isSet("seconds") || parser.isSet("exit-at-end");

    QString error;
    std::unique_ptr<StreamSource> source = openSource(parser, error);
    if (!source)
        return fail(error);
    const int dims = parser.isSet("xyz") ? 3 : parser.isSet("xy") ? 2 : 1;
    const double rate = qMax(0.0, parser.value("rate").toDouble());
    setup.reader = std::make_unique<StreamReader>(std::move(source), std::move(decoder), dims, rate);
    std::fprintf(stderr, "kivscope: reading %s\n", qPrintable(setup.reader->description()));
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Kiv demo: a live 2 x 2 instrument panel fed from threads; with a source, a stream plotter.");
    parser.addHelpOption();
    parser.addPositionalArgument("source", "A file of numbers to plot, or - for standard input.", "[source]");
    QCommandLineOption rate("rate", "Samples per second and producer thread; rows per second a file is replayed at "
                                    "(0: as fast as it can be read).", "hz", "2000");
    QCommandLineOption window("window", "Samples shown by the time series.", "samples", "4000");
    QCommandLineOption seconds("seconds", "Run time; 0 runs until the window is closed.", "s", "0");
    QCommandLineOption shots("screenshots", "Directory for PNG screenshots taken at the end.", "dir");
    parser.addOptions({rate, window, seconds, shots});
    parser.addOptions({
        {"udp", "Plot the datagrams arriving on this UDP port.", "port"},
        {"bind", "The address --udp listens on (127.0.0.1).", "address", "127.0.0.1"},
        {"serial", "Plot what arrives on this serial port.", "device"},
        {"baud", "Baud rate of --serial (115200).", "n", "115200"},
        {"xy", "Pair the columns into x/y series."},
        {"xyz", "Group the columns into x/y/z series."},
        {"binary", "Read little-endian binary frames of int16, int32, float32 or float64.", "type"},
        {"channels", "Values per binary frame (1).", "n", "1"},
        {"grid", "Panel layout as ROWSxCOLUMNS; chosen from the series count by default.", "layout"},
        {"max", "Samples kept per series (4000).", "n", "4000"},
        {"interval", "Seconds between samples: the x axis shows times.", "seconds"},
        {"style", "line (the default), points or bars.", "style", "line"},
        {"exit-at-end", "Close when a file or standard input ends."},
    });
    parser.process(app);

    const bool streaming = !parser.positionalArguments().isEmpty() || parser.isSet("udp") || parser.isSet("serial");
    const double runTime = parser.value(seconds).toDouble();
    if (!streaming) {
        ScopeWindow::Options options;
        options.rate = qMax(1.0, parser.value(rate).toDouble());
        options.window = qMax(10UL, parser.value(window).toULong());
        ScopeWindow scope(options);
        scope.show();
        if (runTime > 0.0) {
            QTimer::singleShot(int(runTime * 1000.0), &app, [&] {
                if (parser.isSet(shots) && !scope.saveScreenshots(parser.value(shots)))
                    std::fprintf(stderr, "kivscope: could not write the screenshots\n");
                std::printf("kivscope: %.0f samples/s, %.1f frames/s per graph\n", scope.samplesPerSecond(),
                            scope.framesPerSecond());
                app.quit();
            });
        }
        return app.exec();
    }

    StreamSetup setup;
    if (!setUpStream(parser, setup))
        return 2;
    StreamReader* reader = setup.reader.get();
    StreamWindow scope(reader, setup.window);
    scope.show();
    bool finishing = false;
    const auto finish = [&] {
        if (finishing)
            return;
        finishing = true;
        if (parser.isSet(shots) && !scope.saveScreenshots(parser.value(shots)))
            std::fprintf(stderr, "kivscope: could not write the screenshots\n");
        const QStringList lines = scope.seriesSummary();
        std::printf("kivscope: %s: %llu rows into %d series, %.0f samples/s, %.1f frames/s per graph\n",
                    qPrintable(reader->description()), reader->rowsRead(), int(lines.size()),
                    scope.samplesPerSecond(), scope.framesPerSecond());
        std::printf("kivscope: skipped %s\n", qPrintable(scope.problemCounts()));
        for (const QString& line : lines)
            std::printf("kivscope: %s\n", qPrintable(line));
        app.quit();
    };
    if (runTime > 0.0)
        QTimer::singleShot(int(runTime * 1000.0), &app, finish);
    if (parser.isSet("exit-at-end")) {
        // A moment for the graphs to draw the last rows before the screenshots.
        QObject::connect(reader, &StreamReader::finished, &app, [&] { QTimer::singleShot(300, &app, finish); });
    }
    reader->start();
    const int code = app.exec();
    reader->stop();
    return code;
}
