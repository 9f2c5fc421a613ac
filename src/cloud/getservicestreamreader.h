#ifndef GETSERVICESTREAMREADER_H
#define GETSERVICESTREAMREADER_H

#include <QList>

#include "cloud/wsxmlstreamreader.h"

class AbstractBucket;

// Reads the list of an account's buckets ("ListAllMyBucketsResult"). The
// owner it names becomes the account's owner in the Driver and the owner of
// every bucket read.
class GetServiceStreamReader : public WSXmlStreamReader
{
public:
    explicit GetServiceStreamReader(const QSharedPointer<AbstractAccount>& account,
                                    const QByteArray& data = QByteArray());

    void readDocument() override;

    QList<QSharedPointer<AbstractBucket>> buckets() const { return m_buckets; }

private:
    void readListAllMyBucketsResult();
    void readBuckets();
    QSharedPointer<AbstractBucket> readBucket();

    QList<QSharedPointer<AbstractBucket>> m_buckets;
};

#endif
