#ifndef METADATADIRECTIVE_H
#define METADATADIRECTIVE_H

#include <QSharedDataPointer>

#include "net/metadata.h"

// What a copy on the store does with the metadata of the object it copies.
class MetadataDirective
{
public:
    enum Directive {
        NoDirective = 0,
        CopyDirective = 1,    // keep the source's metadata
        ReplaceDirective = 2, // send the given fields instead
        MergeDirective = 3    // the given fields over the source's, then replace
    };

    MetadataDirective();
    MetadataDirective(Directive directive, const Metadata& metadata);
    MetadataDirective(const MetadataDirective& other);
    MetadataDirective& operator=(const MetadataDirective& other);
    ~MetadataDirective();

    Directive directive() const;
    void setDirective(Directive directive);
    Metadata metadata() const;
    void setMetadata(const Metadata& metadata);

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
