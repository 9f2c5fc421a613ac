#ifndef WSLISTATOMICOPERATION_H
#define WSLISTATOMICOPERATION_H

#include "cloud/abstractwslistatomicoperation.h"

// One page of a key listing: "prefix=" and the listed path (in file mode
// "&prefix=" and the object's key), then the marker, the page size and, for
// one level, the delimiter.
class WSListAtomicOperation : public AbstractWSListAtomicOperation
{
    Q_DECLARE_TR_FUNCTIONS(WSListAtomicOperation)

public:
    WSListAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractBucket>& bucket,
                          const QSharedPointer<AbstractS3Folder>& folder, const QString& marker,
                          const QString& maxKeys, BrindleLib::EntryListMode entryListMode, const Filter& filter);
    WSListAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractBucket>& bucket,
                          const QSharedPointer<AbstractCloudFile>& file, const QString& marker,
                          const QString& maxKeys);

    QString name() const override { return tr("List"); }
    QUrl url() const override;
    WSListAtomicOperation* clone(OperationGroup* parent) const override;
    bool hasNextPage() const override { return isTruncated && !nextMarker.isEmpty(); }

    QString marker() const { return m_marker; }
    // Where the next page starts, when isTruncated.
    QString nextMarker;

protected:
    std::unique_ptr<AbstractWSListStreamReader> makeReader(const QByteArray& data) const override;
    void takePaging(const AbstractWSListStreamReader& reader) override;

private:
    const QString m_marker;
};

#endif
