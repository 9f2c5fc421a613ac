#ifndef LISTS3VERSIONSATOMICOPERATION_H
#define LISTS3VERSIONSATOMICOPERATION_H

#include "cloud/abstractwslistatomicoperation.h"

// One page of a version listing: the "versions" sub-resource, which alone is
// signed, then the prefix, the delimiter for one level, the page size and
// the two markers.
class ListS3VersionsAtomicOperation : public AbstractWSListAtomicOperation
{
    Q_DECLARE_TR_FUNCTIONS(ListS3VersionsAtomicOperation)

public:
    ListS3VersionsAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractBucket>& bucket,
                                  const QSharedPointer<AbstractS3Folder>& folder, const QString& keyMarker,
                                  const QByteArray& versionIdMarker, const QString& maxKeys,
                                  BrindleLib::EntryListMode entryListMode, const Filter& filter);
    ListS3VersionsAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractBucket>& bucket,
                                  const QSharedPointer<AbstractCloudFile>& file, const QString& keyMarker,
                                  const QByteArray& versionIdMarker, const QString& maxKeys);

    QString name() const override { return tr("List versions"); }
    QUrl url() const override;
    QUrl canonicalizedResource() const override;
    ListS3VersionsAtomicOperation* clone(OperationGroup* parent) const override;
    bool hasNextPage() const override { return isTruncated && !nextKeyMarker.isEmpty(); }

    QString keyMarker() const { return m_keyMarker; }
    QByteArray versionIdMarker() const { return m_versionIdMarker; }
    // Where the next page starts, when isTruncated.
    QString nextKeyMarker;
    QByteArray nextVersionIdMarker;

protected:
    std::unique_ptr<AbstractWSListStreamReader> makeReader(const QByteArray& data) const override;
    void takePaging(const AbstractWSListStreamReader& reader) override;

private:
    const QString m_keyMarker;
    const QByteArray m_versionIdMarker;
};

#endif
