#include "kiv_axisinfo.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

const double FeetPerMetre = 3.2808399;
const double CentimetresPerInch = 2.54;

} // namespace

KivAxisInfo::KivAxisInfo()
    : gridStep(0.1)
    , style(KivAxisStyleZeroLine)
    , units(KivUnitNone)
    , imperialDisplay(false)
    , scaleMin(-1.0)
    , scaleMax(1.0)
    , displayMin(-1.0)
    , displayMax(1.0)
    , limitMin(-100000.0)
    , limitMax(100000.0)
    , minScale(0.1)
{
    label[0] = '\0';
}

bool KivAxisInfo::operator==(const KivAxisInfo& other) const
{
    return scaleMin == other.scaleMin && scaleMax == other.scaleMax;
}

void KivAxisInfo::setLabel(const char* text)
{
    if (!text) {
        label[0] = '\0';
        return;
    }
    // A text that does not fit leaves the old label, like a failed bounded copy.
    const size_t n = strlen(text);
    if (n + 1 > sizeof(label))
        return;
    memcpy(label, text, n + 1);
}

void KivAxisInfo::updateDisplayRange(bool imperial)
{
    displayMin = scaleMin;
    displayMax = scaleMax;
    switch (units) {
    case KivUnitMetre:
    case KivUnitMetrePerSecond:
    case KivUnitMetrePerSecondSquared:
        if (imperial) {
            displayMin = scaleMin * FeetPerMetre;
            displayMax = scaleMax * FeetPerMetre;
        }
        imperialDisplay = imperial;
        break;
    case KivUnitFoot:
    case KivUnitFootPerSecond:
    case KivUnitFootPerSecondSquared:
        if (!imperial) {
            displayMin = scaleMin / FeetPerMetre;
            displayMax = scaleMax / FeetPerMetre;
        }
        imperialDisplay = imperial;
        break;
    case KivUnitCentimetre:
        if (imperial) {
            displayMin = scaleMin / CentimetresPerInch;
            displayMax = scaleMax / CentimetresPerInch;
        }
        break;
    case KivUnitInch:
        if (!imperial) {
            displayMin = scaleMin * CentimetresPerInch;
            displayMax = scaleMax * CentimetresPerInch;
        }
        break;
    default:
        break;
    }
}

char getAxisIdentifier(int i)
{
    switch (i) {
    case 0: return 'x';
    case 1: return 'y';
    case 2: return 'z';
    default: return 'a';
    }
}

int axisIndex(char axis)
{
    switch (axis) {
    case 'x': case 'X': return 0;
    case 'y': case 'Y': return 1;
    case 'z': case 'Z': return 2;
    default: return -1;
    }
}

// Powers of ten are built by repeated multiplication from 1.0 and every comparison is
// strict: the labels depend on exactly which double a step ends up as.
double getScale(double range, int& decimals)
{
    decimals = 1;
    if (!(range > 0.0))
        return 0.5;

    double p = 1.0;
    double q = 0.1;
    if (range > 1.0) {
        int k = 0;
        do {
            p *= 10.0;
            decimals = k;
            --k;
        } while (range > p);
        q = p * 0.1;
    }

    double r = q;
    if (q > range) {
        int d = decimals + 1;
        for (;;) {
            decimals = d;
            ++d;
            r = q * 0.1;
            if (!(r > range))
                break;
            q = r;
        }
        p = q;
    }

    if (range > 0.5 * p)
        return 0.5 * p;
    if (range > 0.4 * p)
        return 0.4 * p;
    if (range > 0.2 * p)
        return 0.2 * p;
    return r;
}

void decimalsToFmt(double min, double max, int decimals, char* fmt)
{
    const double m = std::fmax(std::fabs(min), std::fabs(max));
    int n = 1;
    double t = 0.1;
    if (m > 0.001) {
        t = 1.0;
        if (m > 1.0) {
            do {
                t *= 10.0;
                --n;
            } while (m > t);
            t *= 0.1;
        } else {
            t = 0.1;
        }
        // Near DBL_MAX the powers overflow to infinity, which no factor brings back.
        if (t > m) {
            do {
                t *= 0.1;
                ++n;
            } while (t > m && std::isfinite(t));
        }
    } else {
        do {
            t *= 0.1;
            ++n;
        } while (t > 0.001);
    }

    if (m >= 0.001 && m < 10000.0) {
        if (decimals < 1)
            strcpy(fmt, "%.0f");
        else
            snprintf(fmt, 16, "%%.%uf", unsigned(decimals));
    } else {
        // Fewer decimals than orders would wrap the unsigned precision into a format that
        // prints billions of digits; show no fraction instead.
        const int precision = decimals > n ? decimals - n : 0;
        snprintf(fmt, 16, "%%.%ue", unsigned(precision));
    }
}
