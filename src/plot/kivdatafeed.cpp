#include "kivdatafeed.h"

#include "kiv_dataset.h"
#include "kivfeedlink_p.h"

KivDataFeed::KivDataFeed() = default;
KivDataFeed::~KivDataFeed() = default;
KivDataFeed::KivDataFeed(const KivDataFeed& other) = default;
KivDataFeed& KivDataFeed::operator=(const KivDataFeed& other) = default;

KivDataFeed::KivDataFeed(std::shared_ptr<KivFeedLink> link)
    : m_link(std::move(link))
{
}

template<typename Append>
bool KivDataFeed::append(Append&& append) const
{
    if (!m_link)
        return false;
    // Leaves also when the append throws (bad_alloc), so that removal never waits forever.
    struct Visit {
        KivFeedLink& link;
        ~Visit() { link.leave(); }
    } visit { *m_link };
    KivDataSet* set = m_link->enter();
    if (set)
        append(set);
    return set != nullptr;
}

bool KivDataFeed::addData(double v) const
{
    return append([v](KivDataSet* set) { set->addData(v); });
}

bool KivDataFeed::addData(double x, double y) const
{
    return append([x, y](KivDataSet* set) { set->addData(x, y); });
}

bool KivDataFeed::addData(double x, double y, double z) const
{
    return append([x, y, z](KivDataSet* set) { set->addData(x, y, z); });
}

bool KivDataFeed::addSamples(const double* values, unsigned long count, int dimensions) const
{
    return append([=](KivDataSet* set) { set->addSamples(values, count, dimensions); });
}

bool KivDataFeed::setData(unsigned long index, double value) const
{
    return append([=](KivDataSet* set) { set->setData(index, value); });
}

bool KivDataFeed::isValid() const
{
    return m_link && m_link->isOpen();
}
