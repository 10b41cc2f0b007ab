#ifndef KIVDATAFEED_H
#define KIVDATAFEED_H

#include "kiv_global.h"

#include <memory>

class KivDataSet;
class KivFeedLink;

/*!
 * \brief A producer's handle on a series that may be removed while the producer runs.
 *
 * Take it on the GUI thread with KivDataSet::feed() and copy it into producer threads.
 * Appending through it is KivDataSet::addData() as long as the series exists; once the
 * series has been removed (removeDataSet(), its graph deleted, a panel relayout) every
 * append is a no-op that returns false. Removal waits for appends in flight, so a feed
 * never touches a freed series. A default-constructed feed is never valid.
 */
class KIV_EXPORT KivDataFeed
{
public:
    KivDataFeed();
    ~KivDataFeed();
    KivDataFeed(const KivDataFeed& other);
    KivDataFeed& operator=(const KivDataFeed& other);

    //! Append one sample; false (and nothing stored) once the series is gone.
    bool addData(double v) const;
    bool addData(double x, double y) const;
    bool addData(double x, double y, double z) const;
    //! KivDataSet::addSamples() while the series exists.
    bool addSamples(const double* values, unsigned long count, int dimensions) const;
    //! KivDataSet::setData() while the series exists.
    bool setData(unsigned long index, double value) const;
    //! Whether the series still exists; it may be removed right after the answer.
    bool isValid() const;

private:
    friend class KivDataSet;
    explicit KivDataFeed(std::shared_ptr<KivFeedLink> link);
    template<typename Append>
    bool append(Append&& append) const;

    std::shared_ptr<KivFeedLink> m_link;
};

#endif // KIVDATAFEED_H
