// The tilted label and the legend as a user sees them.
#include <QBoxLayout>
#include <QCheckBox>
#include <QPointer>
#include <QtTest>

#include <algorithm>
#include <memory>
#include <vector>

#include "kiv_dataset.h"
#include "kivlabel.h"
#include "kivlegend.h"

namespace {

// Text with its weight at the start: the ink centroid shows where the text begins.
const QString HeavyFirst = QStringLiteral("MMMMMMMM . . . .");

QImage inkOf(QWidget& widget)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

bool isInk(QRgb pixel)
{
    return qGray(pixel) < 128;
}

QPointF inkCentroid(const QImage& image)
{
    double sx = 0, sy = 0;
    int n = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (isInk(image.pixel(x, y))) {
                sx += x;
                sy += y;
                ++n;
            }
        }
    }
    return n ? QPointF(sx / n, sy / n) : QPointF(-1, -1);
}

// Fraction of the ink pixels of a that have ink at the same place in b, at the best of
// small shifts (rotation about the centre may land a pixel off).
double inkOverlap(const QImage& a, const QImage& b)
{
    double best = 0;
    for (int dy = -2; dy <= 2; ++dy) {
        for (int dx = -2; dx <= 2; ++dx) {
            int ink = 0, hit = 0;
            for (int y = 0; y < a.height(); ++y) {
                for (int x = 0; x < a.width(); ++x) {
                    if (!isInk(a.pixel(x, y)))
                        continue;
                    ++ink;
                    const int bx = x + dx, by = y + dy;
                    if (bx >= 0 && by >= 0 && bx < b.width() && by < b.height()
                        && isInk(b.pixel(bx, by)))
                        ++hit;
                }
            }
            if (ink)
                best = std::max(best, double(hit) / ink);
        }
    }
    return best;
}

QCheckBox* boxWithText(const KivLegend& legend, const QString& text)
{
    for (QCheckBox* box : legend.findChildren<QCheckBox*>()) {
        if (box->text() == text)
            return box;
    }
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
    void labelSizeHint_data();
    void labelSizeHint();
    void labelPaintsRotatedText_data();
    void labelPaintsRotatedText();
    void legendHasText_data();
    void legendHasText();
    void legendBoxShowsSeries();
    void tickingFollowsVisibility();
    void boxFollowsLabelAndColour();
    void removedSeriesLosesItsBox();
    void layoutStacksInAddressOrder_data();
    void layoutStacksInAddressOrder();
};

void TestLabelLegend::labelSizeHint_data()
{
    QTest::addColumn<int>("tilt");
    QTest::addColumn<bool>("transposed");
    QTest::newRow("plain") << 0 << false;
    QTest::newRow("90") << 90 << true;
    QTest::newRow("180") << 180 << false;
    QTest::newRow("270") << 270 << true;
}

void TestLabelLegend::labelSizeHint()
{
    QFETCH(int, tilt);
    QFETCH(bool, transposed);
    const QString text = QStringLiteral("Voltage [mV]");
    QLabel plain(text);
    KivLabel label(text);
    QCOMPARE(label.textTilt(), KivLabel::TiltNone);
    label.setTextTilt(KivLabel::TextTilt(tilt));
    QCOMPARE(int(label.textTilt()), tilt);

    const QSize base = plain.sizeHint();
    QVERIFY(base.width() > base.height());
    QCOMPARE(label.sizeHint(), transposed ? base.transposed() : base);
    QCOMPARE(label.minimumSizeHint(), label.sizeHint());
}

void TestLabelLegend::labelPaintsRotatedText_data()
{
    QTest::addColumn<int>("tilt");
    QTest::addColumn<int>("rotateBy");
    QTest::newRow("plain") << 0 << 0;
    QTest::newRow("bottom to top") << 270 << 270;
    QTest::newRow("top to bottom") << 90 << 90;
}

void TestLabelLegend::labelPaintsRotatedText()
{
    QFETCH(int, tilt);
    QFETCH(int, rotateBy);
    const QSize size(161, 31);

    // The same text drawn plain, then turned by the tilt, is what the tilted label shows.
    KivLabel plain(HeavyFirst);
    plain.setAlignment(Qt::AlignCenter);
    plain.resize(size);
    const QImage expected = inkOf(plain).transformed(QTransform().rotate(rotateBy));

    KivLabel tilted(HeavyFirst);
    tilted.setAlignment(Qt::AlignCenter);
    tilted.setTextTilt(KivLabel::TextTilt(tilt));
    tilted.resize(rotateBy % 180 ? size.transposed() : size);
    const QImage actual = inkOf(tilted);
    QCOMPARE(actual.size(), expected.size());

    QVERIFY2(inkOverlap(actual, expected) > 0.8, "tilted text differs from the turned text");
    QVERIFY(inkOverlap(expected, actual) > 0.8);

    // Where the heavy start of the text lies tells the reading direction.
    const QPointF c = inkCentroid(actual);
    const QPointF mid(actual.width() / 2.0, actual.height() / 2.0);
    if (tilt == 0)
        QVERIFY(c.x() < mid.x() - 5);
    else if (tilt == 270)
        QVERIFY2(c.y() > mid.y() + 5, "y label must read bottom to top");
    else
        QVERIFY(c.y() < mid.y() - 5);

    if (qEnvironmentVariableIsSet("KIV_TEST_OUTPUT_DIR")) {
        actual.save(QDir(qEnvironmentVariable("KIV_TEST_OUTPUT_DIR"))
                        .filePath(QStringLiteral("kivlabel-tilt%1.png").arg(tilt)));
    }
}

void TestLabelLegend::legendHasText_data()
{
    QTest::addColumn<QStringList>("labels");
    QTest::addColumn<bool>("hasText");
    QTest::newRow("empty legend") << QStringList() << false;
    QTest::newRow("unlabelled series") << QStringList{"", ""} << false;
    QTest::newRow("one labelled") << QStringList{"", "pressure"} << true;
    QTest::newRow("all labelled") << QStringList{"a", "b"} << true;
}

void TestLabelLegend::legendHasText()
{
    QFETCH(QStringList, labels);
    QFETCH(bool, hasText);
    KivLegend legend;
    std::vector<std::unique_ptr<KivDataSet>> sets;
    for (const QString& label : labels) {
        sets.push_back(makeSet(label));
        legend.addDataSet(sets.back().get());
    }
    QCOMPARE(legend.findChildren<QCheckBox*>().size(), labels.size());
    QCOMPARE(legend.hasText(), hasText);
}

void TestLabelLegend::legendBoxShowsSeries()
{
    KivLegend legend;
    auto shown = makeSet(QStringLiteral("flow"), QColor(0, 0, 255));
    auto hidden = makeSet(QStringLiteral("level"), QColor(0, 160, 0));
    hidden->setVisible(false);
    legend.addDataSet(shown.get());
    legend.addDataSet(hidden.get());

    QCheckBox* flow = boxWithText(legend, QStringLiteral("flow"));
    QCheckBox* level = boxWithText(legend, QStringLiteral("level"));
    QVERIFY(flow && level);
    QVERIFY(flow->isChecked());
    QVERIFY(!level->isChecked());
    QCOMPARE(iconColour(flow), QColor(0, 0, 255));
    QCOMPARE(iconColour(level), QColor(0, 160, 0));
    QCOMPARE(flow->icon().pixmap(flow->iconSize()).size(), flow->iconSize());
}

void TestLabelLegend::tickingFollowsVisibility()
{
    KivLegend legend;
    auto set = makeSet(QStringLiteral("flow"));
    legend.addDataSet(set.get());
    QCheckBox* box = boxWithText(legend, QStringLiteral("flow"));
    QSignalSpy repaint(set.get(), &KivDataSet::needUpdate);

    box->click();
    QVERIFY(!set->isVisible());
    QVERIFY(repaint.count() >= 1);
    box->click();
    QVERIFY(set->isVisible());

    legend.setDataSetVisible(set.get(), false);
    QVERIFY(!box->isChecked());
    QVERIFY(!set->isVisible());
    legend.setDataSetVisible(set.get(), true);
    QVERIFY(box->isChecked());
    QVERIFY(set->isVisible());

    // A series the legend does not know is left alone.
    auto other = makeSet(QStringLiteral("other"));
    legend.setDataSetVisible(other.get(), false);
    QVERIFY(other->isVisible());
}

void TestLabelLegend::boxFollowsLabelAndColour()
{
    KivLegend legend;
    auto set = makeSet(QStringLiteral("before"), Qt::red);
    auto other = makeSet(QStringLiteral("other"), Qt::blue);
    legend.addDataSet(set.get());
    legend.addDataSet(other.get());
    QCheckBox* box = boxWithText(legend, QStringLiteral("before"));

    set->setLabel(QStringLiteral("after"));
    QCOMPARE(box->text(), QStringLiteral("after"));
    set->setColor(QColor(10, 200, 30));
    QCOMPARE(iconColour(box), QColor(10, 200, 30));
    QCOMPARE(boxWithText(legend, QStringLiteral("other"))->text(), QStringLiteral("other"));
    QCOMPARE(iconColour(boxWithText(legend, QStringLiteral("other"))), QColor(Qt::blue));

    // Called directly, not as a series' signal: ignored.
    legend.updateLabel(QStringLiteral("stray"));
    legend.updateColor(Qt::black);
    QVERIFY(!boxWithText(legend, QStringLiteral("stray")));
    QCOMPARE(iconColour(box), QColor(10, 200, 30));
}

void TestLabelLegend::removedSeriesLosesItsBox()
{
    KivLegend legend;
    auto set = makeSet(QStringLiteral("flow"));
    legend.addDataSet(set.get());
    QPointer<QCheckBox> box = boxWithText(legend, QStringLiteral("flow"));
    QVERIFY(legend.hasText());

    legend.removeDataSet(set.get());
    QVERIFY(!legend.hasText());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(box.isNull());

    // Later changes of the series reach no box; removing twice is harmless.
    set->setLabel(QStringLiteral("renamed"));
    legend.removeDataSet(set.get());
    legend.removeDataSet(nullptr);
    QVERIFY(legend.findChildren<QCheckBox*>().isEmpty());
}

void TestLabelLegend::layoutStacksInAddressOrder_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<bool>("vertical");
    QTest::newRow("right") << int(LegendRight) << true;
    QTest::newRow("above") << int(LegendAbove) << false;
    QTest::newRow("outside the grid") << 5 << false;
}

void TestLabelLegend::layoutStacksInAddressOrder()
{
    QFETCH(int, layout);
    QFETCH(bool, vertical);
    std::vector<std::unique_ptr<KivDataSet>> sets;
    for (int i = 0; i < 4; ++i)
        sets.push_back(makeSet(QStringLiteral("series %1").arg(i)));

    // Added in reverse address order; shown in address order.
    std::vector<KivDataSet*> byAddress;
    for (auto& set : sets)
        byAddress.push_back(set.get());
    std::sort(byAddress.begin(), byAddress.end());
    KivLegend legend;
    for (auto it = byAddress.rbegin(); it != byAddress.rend(); ++it)
        legend.addDataSet(*it);

    legend.setLegendLayout(KivLegendLayout(layout));
    auto* boxLayout = qobject_cast<QBoxLayout*>(legend.layout());
    QVERIFY(boxLayout);
    QCOMPARE(boxLayout->direction(), vertical ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    QCOMPARE(boxLayout->contentsMargins(), QMargins(6, 0, 6, 0));
    QCOMPARE(boxLayout->count(), 4);

    legend.show();
    QVERIFY(QTest::qWaitForWindowExposed(&legend));
    int previous = -1;
    for (KivDataSet* set : byAddress) {
        QCheckBox* box = boxWithText(legend, set->getLabel());
        QVERIFY(box);
        const int position = vertical ? box->y() : box->x();
        QVERIFY(position > previous);
        if (vertical)
            QCOMPARE(box->x(), boxWithText(legend, byAddress.front()->getLabel())->x());
        else
            QCOMPARE(box->y(), boxWithText(legend, byAddress.front()->getLabel())->y());
        previous = position;
    }
}

QTEST_MAIN(TestLabelLegend)
#include "tst_labellegend.moc"
