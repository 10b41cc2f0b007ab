#include "kivtimelabel_p.h"

#include "kiv_dataset.h"
#include "kivclamp_p.h"

#include <cmath>

namespace kivtime {

QString sampleTimeText(const KivDataSet& ds, double x)
{
    // Sample numbers are kept within +-2^62 so that no step below overflows; inside an int
    // this is the plain item arithmetic.
    const auto bounded = [](quint64 n) { return qint64(qMin(n, quint64(kivclamp::PositionLimit))); };
    qint64 i = kivclamp::position(x + 0.5);
    if (ds.hasStyle(KivDataStyleScope, KivDataStyleScope)) {
        const qint64 offset = qBound(qint64(-1), qint64(ds.getScopeOffset()), bounded(ds.getMaxItemCount()));
        i = i >= offset ? i - offset : bounded(ds.getMaxItemCount()) - offset + i;
    }
    double interval = 0.0;
    double newest = 0.0;
    ds.getTime(interval, newest);
    double t = newest - double(bounded(ds.getDisplayItemCount()) - i) * interval;
    if (!std::isfinite(t))
        t = 0.0;
    const bool negative = t < 0.0;
    // The clock wraps every 48 days.
    const quint64 m = quint64(std::fmod(std::fabs(t), 4147200.0) * 1000.0 + 0.5);
    const unsigned hours = unsigned(m / 3600000);
    const unsigned minutes = unsigned((m / 60000) % 60);
    const unsigned seconds = unsigned((m / 1000) % 60);
    const unsigned millis = unsigned(m % 1000);
    QString text;
    if (hours != 0)
        text = QString::asprintf("%2u:%02u:%02u.%03u", hours, minutes, seconds, millis);
    else if (minutes != 0)
        text = QString::asprintf("%2u:%02u.%03u", minutes, seconds, millis);
    else
        text = QString::asprintf("%2u.%03u", seconds, millis);
    if (negative) {
        if (text.startsWith(QLatin1Char(' ')))
            text[0] = QLatin1Char('-');
        else
            text.prepend(QLatin1Char('-'));
    }
    return text;
}

} // namespace kivtime
