#include "cloud/metadatadirective.h"

#include "util/lockeddata.h"

struct MetadataDirective::Private : QSharedData
{
    Directive directive = NoDirective;
    Metadata metadata;
    mutable FastMutex mutex;
};

MetadataDirective::MetadataDirective() = default;

MetadataDirective::MetadataDirective(Directive directive, const Metadata& metadata)
{
    setDirective(directive);
    setMetadata(metadata);
}

MetadataDirective::MetadataDirective(const MetadataDirective& other) = default;
MetadataDirective& MetadataDirective::operator=(const MetadataDirective& other) = default;
MetadataDirective::~MetadataDirective() = default;

MetadataDirective::Directive MetadataDirective::directive() const
{
    return LockedData::read(d, &Private::directive);
}

void MetadataDirective::setDirective(Directive directive)
{
    LockedData::write(d, &Private::directive, directive);
}

Metadata MetadataDirective::metadata() const
{
    return LockedData::read(d, &Private::metadata);
}

void MetadataDirective::setMetadata(const Metadata& metadata)
{
    LockedData::write(d, &Private::metadata, metadata);
}
