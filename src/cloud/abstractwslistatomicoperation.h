#ifndef ABSTRACTWSLISTATOMICOPERATION_H
#define ABSTRACTWSLISTATOMICOPERATION_H

#include <QHash>
#include <QList>
#include <QSharedPointer>
#include <memory>

#include "cloud/s3containeroperation.h"
#include "items/filter.h"
#include "util/brindlelib.h"

class AbstractBucket;
class AbstractCloudFile;
class AbstractFile;
class AbstractFolder;
class AbstractWSFolder;
class AbstractWSListStreamReader;

// One page of a listing below a bucket: of a folder (folder mode), or of the
// key of one object, to learn whether it is there (file mode). The request
// goes to the bucket; what is listed stands in the query, which is never
// signed. The page's items are kept until the group has taken them.
class AbstractWSListAtomicOperation : public S3ContainerOperation
{
public:
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::GetMethod; }
    bool processResponseData() override;
    AbstractWSListAtomicOperation* clone(OperationGroup* parent) const override = 0;

    bool isFileMode() const { return !m_file.isNull(); }
    // What the entries are read below: the folder, or the object's parent.
    QSharedPointer<AbstractS3Folder> listedContainer() const;
    QSharedPointer<AbstractBucket> bucket() const { return m_bucket; }
    QSharedPointer<AbstractS3Folder> folder() const { return m_folder; }
    QSharedPointer<AbstractCloudFile> file() const { return m_file; }
    QString maxKeys() const { return m_maxKeys; }
    BrindleLib::EntryListMode entryListMode() const { return m_entryListMode; }
    Filter filter() const { return m_filter; }

    // The tree rebuilt by the pages before this one, so that a folder is one
    // item however many pages name keys below it.
    QHash<QString, QSharedPointer<AbstractWSFolder>> folderMap() const { return m_folderMap; }
    void setFolderMap(const QHash<QString, QSharedPointer<AbstractWSFolder>>& folderMap);

    void clearList();

    // Whether the store holds more: the page was truncated and says where
    // the next one starts (a page without a marker would start over).
    virtual bool hasNextPage() const = 0;

    bool isTruncated = false;
    // Whether the page named anything, the listed folder's own object included.
    bool hasContent = false;
    QList<QSharedPointer<AbstractFile>> files;
    QList<QSharedPointer<AbstractFolder>> folders;

protected:
    AbstractWSListAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractBucket>& bucket,
                                  const QSharedPointer<AbstractS3Folder>& folder, const QString& maxKeys,
                                  BrindleLib::EntryListMode entryListMode, const Filter& filter);
    AbstractWSListAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractBucket>& bucket,
                                  const QSharedPointer<AbstractCloudFile>& file, const QString& maxKeys);

    // The key that the listing is made for: the folder's path, the object's key.
    QString listedPrefix() const;
    // "&delimiter=%2F" when one level is listed, else empty.
    QString delimiterQuery() const;
    // "&name=" and the value percent-encoded, or empty for an empty value.
    static QString queryItem(const QString& name, const QString& value);
    // Gives a clone the page state that the constructors don't take.
    void copyStateTo(AbstractWSListAtomicOperation* copy) const;

    virtual std::unique_ptr<AbstractWSListStreamReader> makeReader(const QByteArray& data) const = 0;
    // Takes over the markers of the next page from the reader that read this one.
    virtual void takePaging(const AbstractWSListStreamReader& reader) = 0;

private:
    const QSharedPointer<AbstractBucket> m_bucket;
    const QSharedPointer<AbstractS3Folder> m_folder;
    const QSharedPointer<AbstractCloudFile> m_file;
    const QString m_maxKeys;
    const BrindleLib::EntryListMode m_entryListMode;
    const Filter m_filter;
    QHash<QString, QSharedPointer<AbstractWSFolder>> m_folderMap;
};

#endif
