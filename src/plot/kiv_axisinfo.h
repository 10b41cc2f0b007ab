#ifndef KIV_AXISINFO_H
#define KIV_AXISINFO_H

#include "kiv_global.h"

#include <QFlags>
#include <QMetaType>

//! Style bits of one graph axis.
enum KivAxisStyleFlag {
    KivAxisStyleZeroLine = 0x1,   //!< draw the zero line of the other axis' value 0
    KivAxisStyleLocked = 0x20,    //!< the visible range always equals the limits
    KivAxisStyleNoLabels = 0x40,  //!< write no grid labels for this axis
    KivAxisStyleTimeLabels = 0x80 //!< label a time-series x axis with times instead of sample numbers
};
Q_DECLARE_FLAGS(KivAxisStyleFlags, KivAxisStyleFlag)
Q_DECLARE_OPERATORS_FOR_FLAGS(KivAxisStyleFlags)

//! How a graph moves its scales after new data arrived.
enum KivAutoScaleMethod {
    KivNoAutoScale = 0, //!< the scales move only when set
    KivExpandToFit = 1, //!< the scales grow to take in new data and never shrink
    KivFullFit = 2      //!< the scales follow the visible data exactly, with a 3 % margin
};

//! Unit codes of an axis. Metre-based and foot-based values are shown converted when the
//! graph's imperial display flag asks for the other system.
enum KivAxisUnits {
    KivUnitNone = 0,                   //!< shown as stored
    KivUnitMetre = 1,                  //!< metres, shown in feet when imperial
    KivUnitCentimetre = 2,             //!< centimetres, shown in inches when imperial
    KivUnitInch = 3,                   //!< inches, shown in centimetres when metric
    KivUnitFoot = 4,                   //!< feet, shown in metres when metric
    KivUnitMetrePerSecond = 5,         //!< m/s, shown in ft/s when imperial
    KivUnitFootPerSecond = 6,          //!< ft/s, shown in m/s when metric
    KivUnitMetrePerSecondSquared = 7,  //!< m/s², shown in ft/s² when imperial
    KivUnitFootPerSecondSquared = 8    //!< ft/s², shown in m/s² when metric
};

/*!
 * \brief Scale, limits, grid and units of one graph axis.
 *
 * The scale range is in data units; the display range is the same range converted to the
 * units the user sees (see updateDisplayRange()). Copies are plain member-wise copies.
 */
struct KIV_EXPORT KivAxisInfo
{
    KivAxisInfo();

    //! Compares the visible range only; a NaN end makes two records unequal.
    bool operator==(const KivAxisInfo& other) const;
    bool operator!=(const KivAxisInfo& other) const { return !(*this == other); }

    //! Copies at most 63 characters; null empties the label.
    void setLabel(const char* text);

    //! Recomputes the display range from the scale range for the given display system.
    void updateDisplayRange(bool imperial);

    char label[64];
    double gridStep;          //!< grid distance in display units, set while drawing
    unsigned long style;      //!< KivAxisStyleFlag bits
    unsigned long units;      //!< KivAxisUnits code
    bool imperialDisplay;     //!< the last conversion showed imperial units
    double scaleMin;          //!< visible range in data units
    double scaleMax;
    double displayMin;        //!< visible range in display units
    double displayMax;
    double limitMin;          //!< the scale never leaves these limits
    double limitMax;
    double minScale;          //!< smallest allowed span of the scale
};

//! 'x', 'y', 'z' for 0, 1, 2; 'a' (all axes) for anything above.
KIV_EXPORT char getAxisIdentifier(int i);

//! Index 0, 1 or 2 of an axis identifier of either case, -1 for any other character.
KIV_EXPORT int axisIndex(char axis);

/*!
 * Rounds a raw grid step to 5, 4, 2 or 1 times a power of ten, the largest not above
 * \a range, and sets \a decimals to the number of places a label of that step needs.
 * Returns 0.5 for a range that is not positive.
 */
KIV_EXPORT double getScale(double range, int& decimals);

//! Writes the printf format for axis labels between \a min and \a max into \a fmt (at least
//! 16 characters): fixed notation for magnitudes 0.001 .. 10000, exponent notation otherwise.
KIV_EXPORT void decimalsToFmt(double min, double max, int decimals, char* fmt);

Q_DECLARE_METATYPE(KivAutoScaleMethod)

#endif // KIV_AXISINFO_H
