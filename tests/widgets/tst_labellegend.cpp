// The tilted label and the legend as a user sees them.
#include <QCheckBox>
#include <QPointer>
#include <QtTest>

#include <memory>

#include "kiv_dataset.h"
#include "kivlabel.h"
#include "kivlegend.h"

namespace {

using Colours = QList<QColor>;

bool isInk(const QImage& image, int x, int y)
{
    return image.valid(x, y) && qGray(image.pixel(x, y)) < 128;
}

QImage grabLabel(KivLabel::TextTilt tilt, const QSize& size)
{
    // Weight at the start: where the ink lies shows where the text begins.
    KivLabel label(QStringLiteral("MMMMMMMM . . . ."));
    label.setAlignment(Qt::AlignCenter);
    label.setTextTilt(tilt);
    label.resize(size);
    return label.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

QCheckBox* boxWithText(const KivLegend& legend, const QString& text)
{
    for (QCheckBox* box : legend.findChildren<QCheckBox*>())
        if (box->text() == text)
            return box;
    return nullptr;
}

QColor iconColour(const QCheckBox* box)
{
    const QImage image = box->icon().pixmap(box->iconSize()).toImage();
    return image.pixelColor(image.width() / 2, image.height() / 2);
}

std::unique_ptr<KivDataSet> makeSet(const QString& label, const QColor& colour = Qt::red)
{
    auto set = std::make_unique<KivDataSet>(200, 100);
    set->setLabel(label);
    set->setColor(colour);
    return set;
}

} // namespace

class TestLabelLegend : public QObject
{
    Q_OBJECT

private slots:
    void labelPaintsRotatedText_data()
    {
        QTest::addColumn<int>("tilt");
        QTest::addColumn<QPoint>("start"); // the direction from the centre where the text starts
        QTest::newRow("plain") << 0 << QPoint(-1, 0);
        QTest::newRow("bottom to top") << 270 << QPoint(0, 1);
        QTest::newRow("top to bottom") << 90 << QPoint(0, -1);
    }

    void labelPaintsRotatedText()
    {
        QFETCH(int, tilt);
        QFETCH(QPoint, start);
        // The same text drawn plain, then turned by the tilt, is what the tilted label shows:
        // nearly every ink pixel of one has ink within a pixel in the other.
        const QSize size(161, 31);
        const QImage actual = grabLabel(KivLabel::TextTilt(tilt), tilt ? size.transposed() : size);
        const QImage turned = grabLabel(KivLabel::TiltNone, size).transformed(QTransform().rotate(tilt));
        QCOMPARE(actual.size(), turned.size());
        int ink = 0, matched = 0, turnedInk = 0;
        double sx = 0, sy = 0;
        for (int y = 0; y < actual.height(); ++y) {
            for (int x = 0; x < actual.width(); ++x) {
                turnedInk += isInk(turned, x, y);
                if (!isInk(actual, x, y))
                    continue;
                ++ink;
                sx += x - actual.width() / 2.0;
                sy += y - actual.height() / 2.0;
                bool near = false;
                for (int d = 0; d < 9 && !near; ++d)
                    near = isInk(turned, x + d % 3 - 1, y + d / 3 - 1);
                matched += near;
            }
        }
        QVERIFY(ink > 50);
        QVERIFY2(matched > 0.9 * ink, "tilted text differs from the turned text");
        QVERIFY(qAbs(turnedInk - ink) < 0.2 * ink);
        // The ink centroid lies towards the heavy start of the text.
        QVERIFY2(sx / ink * start.x() + sy / ink * start.y() > 5, "text reads the wrong way");
    }

    void boxFollowsSeries()
    {
        KivLegend legend;
        auto set = makeSet(QStringLiteral("before"), QColor(0, 0, 255));
        auto hidden = makeSet(QString(), QColor(0, 160, 0)); // unlabelled
        hidden->setVisible(false);
        legend.addDataSet(set.get());
        legend.addDataSet(hidden.get());
        QPointer<QCheckBox> box = boxWithText(legend, QStringLiteral("before"));
        QCheckBox* other = boxWithText(legend, QString());
        QVERIFY(box->isChecked() && !other->isChecked() && legend.hasText());
        QCOMPARE(Colours({iconColour(box), iconColour(other)}), Colours({QColor(0, 0, 255), QColor(0, 160, 0)}));

        set->setLabel(QStringLiteral("after"));
        set->setColor(QColor(10, 200, 30));
        QCOMPARE(box->text(), QStringLiteral("after"));
        QCOMPARE(Colours({iconColour(box), iconColour(other)}), Colours({QColor(10, 200, 30), QColor(0, 160, 0)}));
        // Called directly, not as a series' signal: ignored.
        legend.updateLabel(QStringLiteral("stray"));
        legend.updateColor(Qt::black);
        QVERIFY(!boxWithText(legend, QStringLiteral("stray")));
        QCOMPARE(iconColour(box), QColor(10, 200, 30));

        // Ticking follows visibility both ways; a series the legend does not know is left alone.
        QSignalSpy repaint(set.get(), &KivDataSet::needUpdate);
        box->click();
        QVERIFY(!set->isVisible() && repaint.count() >= 1);
        legend.setDataSetVisible(set.get(), true);
        QVERIFY(box->isChecked() && set->isVisible());
        auto stranger = makeSet(QStringLiteral("other"));
        legend.setDataSetVisible(stranger.get(), false);
        QVERIFY(stranger->isVisible());

        // A removed series loses its box and later reaches none; removing twice is harmless.
        legend.removeDataSet(set.get());
        QVERIFY(!legend.hasText());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(box.isNull());
        set->setLabel(QStringLiteral("renamed"));
        legend.removeDataSet(set.get());
        legend.removeDataSet(nullptr);
        QCOMPARE(legend.findChildren<QCheckBox*>(), QList<QCheckBox*>{other});
    }
};

QTEST_MAIN(TestLabelLegend)
#include "tst_labellegend.moc"
