#ifndef SERVERSIDEENCRYPTION_H
#define SERVERSIDEENCRYPTION_H

#include <QSharedDataPointer>

// Whether the store is asked to encrypt what it keeps.
class ServerSideEncryption
{
public:
    // KeepExisting takes over the setting of the object being replaced.
    enum Mode { NotRequested = 0, Enabled = 1, KeepExisting = 2 };
    enum Algorithm { NoAlgorithm = 0, Aes256 = 1 };

    // Both 0 leaves the data absent; absent data reads as 0, 0.
    ServerSideEncryption();
    ServerSideEncryption(Mode mode, Algorithm algorithm);
    ServerSideEncryption(const ServerSideEncryption& other);
    ServerSideEncryption& operator=(const ServerSideEncryption& other);
    ~ServerSideEncryption();

    bool isNull() const;
    Mode mode() const;
    Algorithm algorithm() const;
    void setMode(Mode mode);
    void setAlgorithm(Algorithm algorithm);

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
