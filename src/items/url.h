#ifndef URL_H
#define URL_H

#include <QString>

// Checks on the names that go into URLs.
class Url
{
public:
    // Whether a bucket name may stand as the first label of a host name. A
    // name that fails is addressed in the path. Capitals and "_" fail; a
    // leading "." or "-" does not.
    static bool isDnsCompatible(const QString& name);
};

#endif
