#ifndef KIVTOOLBAR_H
#define KIVTOOLBAR_H

#include "kiv_global.h"
#include "kivcontrolinterface.h"

#include <QIcon>
#include <QToolBar>

#include <memory>

class QAction;
class QComboBox;
class QLabel;
class QSpinBox;
class KivGraphWidget;
class KivToolBarPrivate;

/*!
 * \brief Tool bar of graph operations: zoom, pan, legend, measure, freeze, auto-scale method,
 * equal axes, show all samples, clear, and an optional rows x columns layout selector.
 *
 * The tool bar holds no graph: it mirrors the state of its buttons and reports every change
 * through its ...Triggered signals. connectToolbarToGraph() wires those to a graph widget.
 */
class KIV_EXPORT KivToolBar : public QToolBar, public KivControlInterface
{
    Q_OBJECT

public:
    explicit KivToolBar(QWidget* parent = nullptr);
    ~KivToolBar() override;

    //! The 16-pixel icon \a name from the library's resources.
    static QIcon iconFromFileSet(const QString& name);

    bool isAutoScaleMethodChangeAllowed() const override;
    KivAutoScaleMethod getAutoScaleMethod() const override;
    bool isPanningChangeAllowed() const override;
    bool isPanningChecked() const override;
    bool isZoomingChangeAllowed() const override;
    bool isZoomingChecked() const override;
    bool isFreezeChangeAllowed() const override;
    bool isFreezeChecked() const override;
    bool isLegendChangeAllowed() const override;
    bool isLegendChecked() const override;
    bool isMeasureChangeAllowed() const override;
    bool isMeasureChecked() const override;
    bool isAllSamplesChangeAllowed() const override;
    bool isAllSamplesChecked() const override;
    bool isClearAllowed() const override;
    bool isEqualAxesChangeAllowed() const override;
    bool isEqualAxesChecked() const override;

    //! Pushes the whole tool bar state out through the Triggered signals, e.g. into a newly
    //! connected graph widget.
    void emitAllStates();

    //! Shows (creating it the first time) or hides the rows x columns selector. Showing it
    //! reports the chosen layout through layoutSelectionChanged().
    void showLayoutSelection(bool show, int rows, int columns);
    bool isLayoutSelectionShown() const;

signals:
    void layoutSelectionChanged(int rows, int columns);
    void autoScaleMethodTriggered(KivAutoScaleMethod method);
    void panningTriggered(bool checked);
    void zoomingTriggered(bool checked);
    void freezeTriggered(bool checked);
    void equalAxesTriggered(bool checked);
    void allSamplesTriggered(bool checked);
    void clearTriggered(bool clearTime);
    void legendTriggered(bool checked);
    void measureTriggered(bool checked);

public slots:
    void setAutoScaleMethodChangeAllowed(bool allow) override;
    void setAutoScaleMethod(KivAutoScaleMethod method) override;
    void setPanningChangeAllowed(bool allow) override;
    void setPanningChecked(bool checked) override;
    void setZoomingChangeAllowed(bool allow) override;
    void setZoomingChecked(bool checked) override;
    void setFreezeChangeAllowed(bool allow) override;
    void setFreezeChecked(bool checked) override;
    void setLegendChangeAllowed(bool allow) override;
    void setLegendChecked(bool checked) override;
    void setMeasureChangeAllowed(bool allow) override;
    void setMeasureChecked(bool checked) override;
    void setAllSamplesChangeAllowed(bool allow) override;
    void setAllSamplesChecked(bool checked) override;
    void setAllSamplesVisible(bool visible) override;
    void setClearVisible(bool visible) override;
    void setClearAllowed(bool allow) override;
    //! The Clear button calls it without argument and so keeps the time base.
    void clear(bool clearTime = false) override;
    void setEqualAxesChangeAllowed(bool allow) override;
    void setEqualAxesChecked(bool checked) override;

private slots:
    //! Zoom and pan make no sense while a full fit shows all samples; otherwise they follow
    //! their allowed flags.
    void updatePanZoomEnabledState();
    void emitCustomLayout();
    void selectedAutoScaleMethodChanged(int index);

private:
    QAction* addCheckableAction(const QString& text, const QString& iconName);
    void setLayoutValues(int rows, int columns);

    std::unique_ptr<KivToolBarPrivate> const d;
};

//! Connects the tool bar's Triggered signals to the graph widget's matching slots, one way.
KIV_EXPORT void connectToolbarToGraph(KivToolBar* toolbar, KivGraphWidget* graph);

#endif // KIVTOOLBAR_H
