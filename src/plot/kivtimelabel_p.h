#ifndef KIVTIMELABEL_P_H
#define KIVTIMELABEL_P_H

#include <QString>

class KivDataSet;

namespace kivtime {

// The time of sample position `x` of the time series `ds` as "h:mm:ss.mmm", "m:ss.mmm" or
// "s.mmm", the leading field padded to two places and signed for times before zero.
QString sampleTimeText(const KivDataSet& ds, double x);

} // namespace kivtime

#endif // KIVTIMELABEL_P_H
