#ifndef COPYWSFILETOWSATOMICOPERATION_H
#define COPYWSFILETOWSATOMICOPERATION_H

#include <QCoreApplication>
#include <QSharedPointer>

#include "cloud/abstractacl.h"
#include "cloud/metadatadirective.h"
#include "cloud/transfersettings.h"
#include "cloud/wsobjectoperation.h"

class AbstractS3Folder;

// One PUT that has the store duplicate an object: the body stays on the
// server, the request names its source in a header. The operation's own item
// is the new object.
class CopyWSFileToWSAtomicOperation : public WSObjectOperation
{
    Q_DECLARE_TR_FUNCTIONS(CopyWSFileToWSAtomicOperation)

public:
    CopyWSFileToWSAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& source,
                                  const QSharedPointer<AbstractS3Folder>& destination, const QString& name,
                                  const MetadataDirective& metadataDirective, const TransferSettings& settings);

    QString name() const override { return tr("Copy object"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::PutMethod; }
    CopyWSFileToWSAtomicOperation* clone(OperationGroup* parent) const override;
    Metadata httpFieldList() const override;
    bool processResponseData() override;

    QSharedPointer<AbstractCloudFile> source() const { return m_source; }
    AbstractAcl::Canned canned() const { return m_settings.aclDirective.canned(); }

    // The value of the copy-source header for source: the bucket and the
    // still encoded key, with a leading "/" only when the bucket is in the
    // path, and the version query if the URL has one.
    static QByteArray copySource(const QSharedPointer<AbstractCloudFile>& source);

    static const QByteArray _copy;
    static const QByteArray _replace;
    static const QByteArray _standard;

private:
    // Puts what the answer says on the new object's item.
    void takeResult(const QDateTime& lastModified, const QByteArray& md5);

    const QSharedPointer<AbstractCloudFile> m_source;
    const QSharedPointer<AbstractS3Folder> m_destination;
    const QString m_name;
    const MetadataDirective m_metadataDirective;
    const TransferSettings m_settings;
};

#endif
