#ifndef WSLISTOPERATION_H
#define WSLISTOPERATION_H

#include <QList>
#include <QSet>
#include <QSharedPointer>

#include "items/filter.h"
#include "operations/operationgroup.h"
#include "util/brindlelib.h"

class AbstractBucket;
class AbstractCloudFile;
class AbstractFile;
class AbstractFolder;
class AbstractS3Folder;
class AbstractWSListAtomicOperation;

// A listing of a bucket or folder, or of one object's key, page after page
// until the store says it is complete. Keys or versions, by listVersionMode.
class WSListOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(WSListOperation)

public:
    WSListOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder,
                    BrindleLib::EntryListMode entryListMode, BrindleLib::ListVersionMode listVersionMode,
                    const Filter& filter);
    WSListOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file,
                    BrindleLib::ListVersionMode listVersionMode);

    QString name() const override { return tr("List"); }
    void prepareFirstOperation() override;

    // The listed folder; null in file mode.
    QSharedPointer<AbstractS3Folder> folder() const { return m_folder; }
    QSharedPointer<AbstractCloudFile> file() const { return m_file; }
    BrindleLib::EntryListMode entryListMode() const { return m_entryListMode; }
    BrindleLib::ListVersionMode listVersionMode() const { return m_listVersionMode; }

    // Gathered over all pages.
    QList<QSharedPointer<AbstractFile>> files;
    QList<QSharedPointer<AbstractFolder>> folders;
    void clearList();

    // The bucket that holds folder: the folder itself, or the first bucket above it.
    static QSharedPointer<AbstractBucket> bucketOf(const QSharedPointer<AbstractS3Folder>& folder);

private:
    // Appends the page that follows page, or the first one for a null page.
    void appendPage(const AbstractWSListAtomicOperation* page);
    void pageFinished(AbstractWSListAtomicOperation* page);
    bool advances(const AbstractWSListAtomicOperation* page) const;

    const QSharedPointer<AbstractS3Folder> m_folder;
    const QSharedPointer<AbstractCloudFile> m_file;
    const QSharedPointer<AbstractBucket> m_bucket;
    const BrindleLib::EntryListMode m_entryListMode;
    const BrindleLib::ListVersionMode m_listVersionMode;
    const Filter m_filter;
    // Pages of a subtree name again the folders above their keys.
    QSet<QString> m_seenFolders;
};

#endif
