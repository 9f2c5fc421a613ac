#ifndef S3PUTEMPTYOBJECTATOMICOPERATION_H
#define S3PUTEMPTYOBJECTATOMICOPERATION_H

#include <QSharedPointer>

#include "cloud/abstractacl.h"
#include "cloud/s3containeroperation.h"

class AbstractWSFolder;

// Makes a folder's own object: a PUT of the folder's key, with the trailing
// delimiter, and no body. The canned ACL, if any, rides in the provider's
// ACL header.
class S3PutEmptyObjectAtomicOperation : public S3ContainerOperation
{
    Q_DECLARE_TR_FUNCTIONS(S3PutEmptyObjectAtomicOperation)

public:
    S3PutEmptyObjectAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& parentFolder,
                                    const QString& name, AbstractAcl::Canned canned = AbstractAcl::NotCanned);

    QString name() const override { return tr("Put object"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::PutMethod; }
    Metadata httpFieldList() const override;
    bool processResponseData() override;
    S3PutEmptyObjectAtomicOperation* clone(OperationGroup* parent) const override;

    // The folder made; null until the store answered 200.
    QSharedPointer<AbstractS3Folder> createdS3Folder() const { return m_createdFolder; }
    AbstractAcl::Canned canned() const { return m_canned; }

private:
    S3PutEmptyObjectAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& parentFolder,
                                    const QSharedPointer<AbstractWSFolder>& folder, const QString& name,
                                    AbstractAcl::Canned canned);

    const QSharedPointer<AbstractS3Folder> m_parentFolder;
    const QString m_name;
    const AbstractAcl::Canned m_canned;
    QSharedPointer<AbstractS3Folder> m_createdFolder;
};

#endif
