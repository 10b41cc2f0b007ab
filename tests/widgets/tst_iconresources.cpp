// The icons must resolve in a host that has only linked the library: the resources are
// registered when libkiv loads, before any of its code is called.
#include <QImage>
#include <QtTest>

#include "kivtoolbar.h"

static const char* const IconNames[] = {
    "clear", "noautoscale", "equalaxes", "expand", "pan", "layout4windows",
    "legend", "showallsamples", "showallsamples_vertical", "layout1window", "layoutcustom",
    "zoom", "freeze", "layout1high1low", "layout1left1right", "fit", "measure",
};

class TestIconResources : public QObject
{
    Q_OBJECT

private slots:
    // Runs first, before anything of the library has been called.
    void iconLoadsWithoutInitialisation_data();
    void iconLoadsWithoutInitialisation();
    void resourceFolderHoldsExactlyTheIconSet();
};

void TestIconResources::iconLoadsWithoutInitialisation_data()
{
    QTest::addColumn<QString>("path");
    for (const char* name : IconNames)
        QTest::newRow(name) << QStringLiteral(":/kiv/Resources/%1-16.png").arg(QLatin1String(name));
}

void TestIconResources::iconLoadsWithoutInitialisation()
{
    QFETCH(QString, path);
    const QImage image = QImage(path).convertToFormat(QImage::Format_ARGB32);
    QVERIFY2(!image.isNull(), qPrintable(path));
    QCOMPARE(image.size(), QSize(16, 16));
    // A drawn glyph, not an empty or uniformly filled square.
    int opaque = 0;
    QSet<QRgb> colours;
    for (int i = 0; i < 256; ++i) {
        opaque += qAlpha(image.pixel(i % 16, i / 16)) > 128;
        colours.insert(image.pixel(i % 16, i / 16));
    }
    QVERIFY(opaque > 20 && colours.size() > 2);
}

void TestIconResources::resourceFolderHoldsExactlyTheIconSet()
{
    QStringList expected;
    for (const char* name : IconNames)
        expected << QStringLiteral("%1-16.png").arg(QLatin1String(name));
    expected.sort();
    QCOMPARE(QDir(QStringLiteral(":/kiv/Resources")).entryList(QDir::Files, QDir::Name), expected);
    QVERIFY(KivToolBar::iconFromFileSet(QStringLiteral("nosuchicon")).pixmap(16).isNull());
}

QTEST_MAIN(TestIconResources)
#include "tst_iconresources.moc"
