#ifndef MULTIPART_H
#define MULTIPART_H

#include <QSharedDataPointer>
#include <QtGlobal>

// The multipart setting of an upload. It is handed down the operations as it
// is: every upload goes in one request.
class Multipart
{
public:
    enum Directive { DefaultDirective = 0, UseMultipart = 1 };

    // No shared data until a setter runs.
    Multipart();
    Multipart(const Multipart& other);
    Multipart& operator=(const Multipart& other);
    ~Multipart();

    Directive directive() const;
    qint64 partSize() const;
    void setDirective(Directive directive);
    void setPartSize(qint64 size);

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
