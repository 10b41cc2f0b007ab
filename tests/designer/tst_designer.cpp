// Qt Designer: the plugin offers and creates each widget, and a form using them builds with
// the properties it sets.

#include "kiv_base.h"
#include "kiv_graph.h"
#include "kiv_graph3d.h"
#include "kiv_graphwidget.h"
#include "ui_plotform.h"

#include <QtTest>
#include <QtUiPlugin/QDesignerCustomWidgetCollectionInterface>

class TestDesigner : public QObject
{
    Q_OBJECT

private slots:
    void pluginCreatesWidget_data()
    {
        QTest::addColumn<QString>("className");
        QTest::addColumn<QString>("header");
        QTest::newRow("panel") << "KivWidget" << "kiv_base.h";
        QTest::newRow("graph widget") << "KivGraphWidget" << "kiv_graphwidget.h";
        QTest::newRow("graph") << "KivGraph" << "kiv_graph.h";
        QTest::newRow("3d view") << "KivGraph3D" << "kiv_graph3d.h";
    }
    void pluginCreatesWidget()
    {
        QFETCH(QString, className);
        QFETCH(QString, header);
        QPluginLoader loader(QStringLiteral(KIV_DESIGNER_PLUGIN));
        auto* collection = qobject_cast<QDesignerCustomWidgetCollectionInterface*>(loader.instance());
        QVERIFY2(collection, qPrintable(loader.errorString()));
        QDesignerCustomWidgetInterface* entry = nullptr;
        for (QDesignerCustomWidgetInterface* w : collection->customWidgets())
            entry = w->name() == className ? w : entry;
        QVERIFY(entry);
        QCOMPARE(entry->includeFile(), header);
        QVERIFY(!entry->icon().isNull());
        QVERIFY(entry->domXml().contains(QStringLiteral("class=\"%1\"").arg(className)));
        QWidget parent;
        QWidget* widget = entry->createWidget(&parent);
        QVERIFY(widget);
        QCOMPARE(QString(widget->metaObject()->className()), className);
        QCOMPARE(widget->parentWidget(), &parent);
    }

    void formSetsProperties()
    {
        QWidget form;
        Ui::PlotForm ui;
        ui.setupUi(&form);
        int rows = 0;
        int cols = 0;
        ui.panel->getLayout(rows, cols);
        QCOMPARE(rows, 2);
        QCOMPARE(cols, 3);
        QVERIFY(ui.panel->getGraph(1, 2));
        QCOMPARE(ui.graphWidget->title(), QString("Pressure"));
        QCOMPARE(ui.graphWidget->yLabel(), QString("bar"));
        QVERIFY(ui.graphWidget->isFreezeChecked());
        QCOMPARE(ui.graph->noDataText(), QString("waiting"));
    }
};

QTEST_MAIN(TestDesigner)
#include "tst_designer.moc"
