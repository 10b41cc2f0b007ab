#include "kivdesignerwidget.h"

#include <QIcon>

KivDesignerWidget::KivDesignerWidget(const QString& className, const QString& header,
                                     const QString& iconPath, const QString& toolTip, Factory factory)
    : m_className(className)
    , m_header(header)
    , m_iconPath(iconPath)
    , m_toolTip(toolTip)
    , m_factory(std::move(factory))
{
}

QString KivDesignerWidget::name() const
{
    return m_className;
}

QString KivDesignerWidget::group() const
{
    return QStringLiteral("Kiv Plotting");
}

QString KivDesignerWidget::toolTip() const
{
    return m_toolTip;
}

QString KivDesignerWidget::whatsThis() const
{
    return m_toolTip;
}

QString KivDesignerWidget::includeFile() const
{
    return m_header;
}

QIcon KivDesignerWidget::icon() const
{
    return QIcon(m_iconPath);
}

bool KivDesignerWidget::isContainer() const
{
    return false;
}

QWidget* KivDesignerWidget::createWidget(QWidget* parent)
{
    return m_factory(parent);
}

bool KivDesignerWidget::isInitialized() const
{
    return m_initialized;
}

void KivDesignerWidget::initialize(QDesignerFormEditorInterface*)
{
    m_initialized = true;
}

// A size to start from on the form; the object name follows the class.
QString KivDesignerWidget::domXml() const
{
    QString object = m_className;
    object.replace(0, 1, object.at(0).toLower());
    return QStringLiteral(
               "<ui language=\"c++\"><widget class=\"%1\" name=\"%2\">"
               "<property name=\"geometry\"><rect><x>0</x><y>0</y><width>400</width>"
               "<height>300</height></rect></property></widget></ui>")
        .arg(m_className, object);
}
