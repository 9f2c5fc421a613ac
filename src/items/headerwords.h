#ifndef HEADERWORDS_H
#define HEADERWORDS_H

#include <QByteArray>

// The header names that one store family speaks. Every word is the family's
// prefix ("x-amz-", "x-goog-", ...) and a fixed tail, so a family is told by
// its prefix alone.
struct HeaderWords
{
    QByteArray x;
    QByteArray meta;
    QByteArray metaEncryption;
    QByteArray metaETag;
    QByteArray metaETag2;
    QByteArray metaContentLength;
    QByteArray acl;
    QByteArray copySource;
    QByteArray metadataDirective;
    QByteArray storageClass;
    QByteArray versionId;
    QByteArray deleteMarker;
    QByteArray serverSideEncryption;

    static HeaderWords withPrefix(const QByteArray& prefix)
    {
        const QByteArray meta = prefix + "meta-";
        return {prefix,
                meta,
                meta + "brindlebox-encryption",
                meta + "brindlebox-etag",
                meta + "brindlebox-etag2",
                meta + "brindlebox-content-length",
                prefix + "acl",
                prefix + "copy-source",
                prefix + "metadata-directive",
                prefix + "storage-class",
                prefix + "version-id",
                prefix + "delete-marker",
                prefix + "server-side-encryption"};
    }
};

#endif
