// Labels drawn from their cached glyphs must light the pixels QPainter::drawText lights, in
// the frame that lays them out and in the frames after it.

#include "kiv_labelcache_p.h"

#include <QOpenGLWidget>
#include <QPainter>
#include <QtTest>

namespace {

// Texts in rectangles as the axes make them (ink width + 1), and wider or narrower ones.
class Labels : public QOpenGLWidget
{
public:
    QFont labelFont;
    QStringList texts;
    bool cached = false;
    KivLabelCache cache;

protected:
    void paintGL() override
    {
        QPainter painter(this);
        painter.fillRect(rect(), Qt::white);
        painter.setFont(labelFont);
        painter.setPen(Qt::black);
        int y = 2;
        for (const QString& text : texts) {
            const QRect ink = painter.fontMetrics().boundingRect(text);
            if (cached)
                QCOMPARE(cache.boundingRect(&painter, text), ink);
            const QRect rects[] = {QRect(3, y, ink.width() + 1, ink.height()),
                                   QRect(200, y, ink.width() + 40, ink.height() + 9),
                                   QRect(400, y + 2, ink.width() / 2, ink.height() - 4)};
            for (const QRect& r : rects) {
                if (cached)
                    cache.draw(&painter, r, text);
                else
                    painter.drawText(r, Qt::AlignLeft | Qt::AlignBottom, text);
            }
            y += ink.height() + 12;
        }
    }
};

} // namespace

class TestLabelCache : public QObject
{
    Q_OBJECT

private slots:
    void samePixels_data()
    {
        QTest::addColumn<QFont>("font");
        QTest::newRow("application font") << QFont();
        QTest::newRow("serif italic 13 pt") << QFont(QStringLiteral("DejaVu Serif"), 13, -1, true);
        QFont mono(QStringLiteral("DejaVu Sans Mono"));
        mono.setPixelSize(9);
        QTest::newRow("mono 9 px") << mono;
        QFont light(QStringLiteral("DejaVu Sans"), 17, QFont::Light);
        light.setLetterSpacing(QFont::AbsoluteSpacing, 0.7);
        QTest::newRow("light 17 pt, spaced") << light;
    }

    void samePixels()
    {
        QFETCH(QFont, font);
        Labels w;
        w.labelFont = font;
        w.texts = QStringList{"0", "-0.25", "1.5e+06", "12:34:56.789", "Wg|j", "ÅÄÖ åäö ", "tab\there", "two\nlines"};
        w.resize(640, 480);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        const QImage plain = w.grabFramebuffer();
        w.cached = true;
        const QImage first = w.grabFramebuffer();
        const QImage later = w.grabFramebuffer();
        QCOMPARE(first, plain);
        QCOMPARE(later, plain);
    }

    // A new font lays the labels out anew.
    void followsTheFont()
    {
        Labels w;
        w.texts = QStringList{"-0.25", "12:34"};
        w.cached = true;
        w.resize(640, 200);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        w.grabFramebuffer();
        w.labelFont = QFont(QStringLiteral("DejaVu Serif"), 19);
        const QImage cached = w.grabFramebuffer();
        w.cached = false;
        QCOMPARE(cached, w.grabFramebuffer());
    }
};

QTEST_MAIN(TestLabelCache)
#include "tst_labelcache.moc"
