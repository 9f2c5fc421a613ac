#ifndef OVERWRITEMODE_H
#define OVERWRITEMODE_H

// What an overwriting copy keeps of the object it replaces.
class OverwriteMode
{
public:
    OverwriteMode() = default;
    OverwriteMode(bool keepAcl, bool keepStorageClass, bool keepMetadata, bool keepServerSideEncryption)
        : m_keepAcl(keepAcl), m_keepStorageClass(keepStorageClass), m_keepMetadata(keepMetadata),
          m_keepServerSideEncryption(keepServerSideEncryption)
    {
    }

    bool keepAcl() const { return m_keepAcl; }
    bool keepStorageClass() const { return m_keepStorageClass; }
    bool keepMetadata() const { return m_keepMetadata; }
    bool keepServerSideEncryption() const { return m_keepServerSideEncryption; }
    bool keepsAnything() const
    {
        return m_keepAcl || m_keepStorageClass || m_keepMetadata || m_keepServerSideEncryption;
    }

private:
    int m_keepAcl = 0;
    int m_keepStorageClass = 0;
    int m_keepMetadata = 0;
    int m_keepServerSideEncryption = 0;
};

#endif
