#include "cloud/getservicestreamreader.h"

#include "items/abstractaccount.h"
#include "items/abstractbucket.h"
#include "items/driver.h"

namespace {
const QString listAllMyBucketsResultElement = QStringLiteral("ListAllMyBucketsResult");
const QString bucketsElement = QStringLiteral("Buckets");
const QString bucketElement = QStringLiteral("Bucket");
const QString nameElement = QStringLiteral("Name");
const QString creationDateElement = QStringLiteral("CreationDate");
} // namespace

GetServiceStreamReader::GetServiceStreamReader(const QSharedPointer<AbstractAccount>& account,
                                               const QByteArray& data)
    : WSXmlStreamReader(account, data)
{
}

void GetServiceStreamReader::readDocument()
{
    walkDocument(listAllMyBucketsResultElement, [this] { readListAllMyBucketsResult(); });
}

void GetServiceStreamReader::readListAllMyBucketsResult()
{
    QSharedPointer<AbstractUser> owner;
    while (readNextChildOf(listAllMyBucketsResultElement)) {
        if (name() == _ownerXmlElement) {
            const bool google = account() && account()->fileSystemType() == AbstractFS::GSFileSystem;
            owner = readOwner(google ? AbstractUser::GroupById : AbstractUser::NoUserType);
            Driver::setAccountOwner(owner);
        } else if (name() == bucketsElement) {
            readBuckets();
        }
    }
    for (const QSharedPointer<AbstractBucket>& bucket : std::as_const(m_buckets))
        bucket->setOwner(owner);
}

void GetServiceStreamReader::readBuckets()
{
    while (readNextChildOf(bucketsElement)) {
        if (name() != bucketElement)
            continue;
        if (const QSharedPointer<AbstractBucket> bucket = readBucket())
            m_buckets.append(bucket);
    }
}

QSharedPointer<AbstractBucket> GetServiceStreamReader::readBucket()
{
    QString bucketName;
    QDateTime creationDate;
    while (readNextChildOf(bucketElement)) {
        if (name() == nameElement)
            bucketName = readText();
        else if (name() == creationDateElement)
            creationDate = dateFromXml(readText());
    }
    return Driver::createBucketItem(bucketName, creationDate, account());
}
