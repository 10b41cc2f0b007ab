// kivscope: a Kiv demo host in the style of an instrument front panel.
#include "scopewindow.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include <cstdio>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription("Kiv demo: a live 2 x 2 instrument panel fed from threads.");
    parser.addHelpOption();
    QCommandLineOption rate("rate", "Samples per second and producer thread.", "hz", "2000");
    QCommandLineOption window("window", "Samples shown by the time series.", "samples", "4000");
    QCommandLineOption seconds("seconds", "Run time; 0 runs until the window is closed.", "s", "0");
    QCommandLineOption shots("screenshots", "Directory for PNG screenshots taken at the end.", "dir");
    parser.addOptions({rate, window, seconds, shots});
    parser.process(app);

    ScopeWindow::Options options;
    options.rate = qMax(1.0, parser.value(rate).toDouble());
    options.window = qMax(10UL, parser.value(window).toULong());
    ScopeWindow scope(options);
    scope.show();

    const double runTime = parser.value(seconds).toDouble();
    if (runTime > 0.0) {
        QTimer::singleShot(int(runTime * 1000.0), &app, [&] {
            if (parser.isSet(shots) && !scope.saveScreenshots(parser.value(shots)))
                std::fprintf(stderr, "kivscope: could not write the screenshots\n");
            std::printf("kivscope: %.0f samples/s, %.1f frames/s per graph\n",
                        scope.samplesPerSecond(), scope.framesPerSecond());
            app.quit();
        });
    }
    return app.exec();
}
