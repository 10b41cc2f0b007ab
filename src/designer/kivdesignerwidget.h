#ifndef KIVDESIGNERWIDGET_H
#define KIVDESIGNERWIDGET_H

#include <QtUiPlugin/QDesignerCustomWidgetInterface>

#include <functional>

/*!
 * \brief One Kiv widget as Qt Designer sees it: its class, header, icon, default geometry
 * and a factory.
 */
class KivDesignerWidget : public QDesignerCustomWidgetInterface
{
public:
    using Factory = std::function<QWidget*(QWidget* parent)>;

    KivDesignerWidget(const QString& className, const QString& header, const QString& iconPath,
                      const QString& toolTip, Factory factory);

    QString name() const override;
    QString group() const override;
    QString toolTip() const override;
    QString whatsThis() const override;
    QString includeFile() const override;
    QIcon icon() const override;
    bool isContainer() const override;
    QWidget* createWidget(QWidget* parent) override;
    bool isInitialized() const override;
    void initialize(QDesignerFormEditorInterface* core) override;
    QString domXml() const override;

private:
    QString m_className;
    QString m_header;
    QString m_iconPath;
    QString m_toolTip;
    Factory m_factory;
    bool m_initialized = false;
};

#endif // KIVDESIGNERWIDGET_H
