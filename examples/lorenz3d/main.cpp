// Lorenz attractor in a rotatable 3D view, computed live on a worker thread.
//
//   lorenz3d                                  interactive window
//   lorenz3d --seconds 3 --screenshot a.png   runs 3 s, saves the view and quits

#include "lorenzsource.h"
#include "lorenzview.h"
#include "trajectorybuffer.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QImage>
#include <QTimer>

#include <cstdio>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("lorenz3d"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Live Lorenz attractor in a KivGraph3D view."));
    parser.addHelpOption();
    const QCommandLineOption secondsOption(QStringLiteral("seconds"),
                                           QStringLiteral("Quit after <s> seconds."), QStringLiteral("s"));
    const QCommandLineOption screenshotOption(QStringLiteral("screenshot"),
                                              QStringLiteral("Save the view to <file> before quitting."),
                                              QStringLiteral("file"));
    parser.addOption(secondsOption);
    parser.addOption(screenshotOption);
    parser.process(app);

    TrajectoryBuffer buffer;
    LorenzView view(&buffer);
    view.setWindowTitle(QStringLiteral("Lorenz attractor"));
    view.resize(640, 480);
    view.show();

    LorenzSource source(&buffer);
    source.start();

    int exitCode = 0;
    if (parser.isSet(secondsOption)) {
        bool ok = false;
        const double seconds = parser.value(secondsOption).toDouble(&ok);
        if (!ok || seconds < 0.0) {
            std::fprintf(stderr, "lorenz3d: --seconds needs a non-negative number\n");
            return 2;
        }
        const QString screenshot = parser.value(screenshotOption);
        QTimer::singleShot(int(seconds * 1000.0), &view, [&view, &app, &exitCode, screenshot]() {
            if (!screenshot.isEmpty() && !view.grabFramebuffer().save(screenshot)) {
                std::fprintf(stderr, "lorenz3d: cannot write %s\n", qPrintable(screenshot));
                exitCode = 1;
            }
            app.quit();
        });
    }

    const int rc = app.exec();
    std::printf("lorenz3d: %lld points received\n", view.receivedCount());
    return exitCode != 0 ? exitCode : rc;
}
