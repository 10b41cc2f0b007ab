#ifndef KIVCONTROLINTERFACE_H
#define KIVCONTROLINTERFACE_H

#include "kiv_global.h"
#include "kiv_axisinfo.h"

/*!
 * \brief The on/off operations shared by a graph widget and the tool bar that drives it.
 *
 * Every operation has a change-allowed flag; while a flag is false the matching setter is
 * silently ignored, which is how a host locks what its users may change.
 */
class KIV_EXPORT KivControlInterface
{
public:
    virtual ~KivControlInterface() = default;

    virtual bool isAutoScaleMethodChangeAllowed() const = 0;
    virtual void setAutoScaleMethodChangeAllowed(bool allow) = 0;
    virtual KivAutoScaleMethod getAutoScaleMethod() const = 0;
    virtual void setAutoScaleMethod(KivAutoScaleMethod method) = 0;

    virtual bool isPanningChangeAllowed() const = 0;
    virtual void setPanningChangeAllowed(bool allow) = 0;
    virtual bool isPanningChecked() const = 0;
    virtual void setPanningChecked(bool checked) = 0;

    virtual bool isZoomingChangeAllowed() const = 0;
    virtual void setZoomingChangeAllowed(bool allow) = 0;
    virtual bool isZoomingChecked() const = 0;
    virtual void setZoomingChecked(bool checked) = 0;

    virtual bool isFreezeChangeAllowed() const = 0;
    virtual void setFreezeChangeAllowed(bool allow) = 0;
    virtual bool isFreezeChecked() const = 0;
    virtual void setFreezeChecked(bool checked) = 0;

    virtual bool isLegendChangeAllowed() const = 0;
    virtual void setLegendChangeAllowed(bool allow) = 0;
    virtual bool isLegendChecked() const = 0;
    virtual void setLegendChecked(bool checked) = 0;

    virtual bool isMeasureChangeAllowed() const = 0;
    virtual void setMeasureChangeAllowed(bool allow) = 0;
    virtual bool isMeasureChecked() const = 0;
    virtual void setMeasureChecked(bool checked) = 0;

    virtual bool isAllSamplesChangeAllowed() const = 0;
    virtual void setAllSamplesChangeAllowed(bool allow) = 0;
    virtual bool isAllSamplesChecked() const = 0;
    virtual void setAllSamplesChecked(bool checked) = 0;
    //! Shows or hides the all-samples control where there is one to show.
    virtual void setAllSamplesVisible(bool visible) = 0;

    //! Shows or hides the clear control where there is one to show.
    virtual void setClearVisible(bool visible) = 0;
    virtual bool isClearAllowed() const = 0;
    virtual void setClearAllowed(bool allow) = 0;
    //! Removes all samples; \a clearTime also resets the time base.
    virtual void clear(bool clearTime) = 0;

    virtual bool isEqualAxesChangeAllowed() const = 0;
    virtual void setEqualAxesChangeAllowed(bool allow) = 0;
    virtual bool isEqualAxesChecked() const = 0;
    virtual void setEqualAxesChecked(bool checked) = 0;
};

#endif // KIVCONTROLINTERFACE_H
