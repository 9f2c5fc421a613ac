#include "cloud/requestsigner.h"

#include "cloud/signaturev2.h"
#include "cloud/signaturev4.h"

const RequestSigner& RequestSigner::forVersion(int version)
{
    static const SignatureV2 version2;
    static const SignatureV4 version4;
    if (version == 4)
        return version4;
    return version2;
}
