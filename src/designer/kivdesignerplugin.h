#ifndef KIVDESIGNERPLUGIN_H
#define KIVDESIGNERPLUGIN_H

#include <QObject>
#include <QtUiPlugin/QDesignerCustomWidgetCollectionInterface>

/*!
 * \brief The Qt Designer plugin: the panel (KivWidget), the graph widget, the 2D graph and
 * the 3D view in a "Kiv Plotting" group of the widget box.
 */
class KivDesignerPlugin : public QObject, public QDesignerCustomWidgetCollectionInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.qt-project.Qt.QDesignerCustomWidgetCollectionInterface")
    Q_INTERFACES(QDesignerCustomWidgetCollectionInterface)

public:
    explicit KivDesignerPlugin(QObject* parent = nullptr);
    ~KivDesignerPlugin() override;

    QList<QDesignerCustomWidgetInterface*> customWidgets() const override;

private:
    QList<QDesignerCustomWidgetInterface*> m_widgets;
};

#endif // KIVDESIGNERPLUGIN_H
