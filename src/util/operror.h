#ifndef OPERROR_H
#define OPERROR_H

#include <QExplicitlySharedDataPointer>
#include <QString>

// An error as a value. Copies share one private record, so that marking an
// error as shown through one operation marks it for all its ancestors too.
class OpError
{
public:
    enum ErrorType {
        NoError = 0,
        GeneralError = 1,
        FileError = 3,
        NetworkError = 4,
        ServiceError = 5,
        CompressionError = 6,
        EncryptionError = 7
    };

    OpError();
    OpError(ErrorType type, const QString& code, const QString& message, const QString& detail);
    OpError(const OpError& other);
    OpError& operator=(const OpError& other);
    ~OpError();

    bool isNull() const;
    ErrorType type() const;
    QString code() const;
    QString message() const;
    QString detail() const;
    int errorId() const;
    QString endPoint() const;
    bool showFlag() const;

    void setDetail(const QString& detail);
    void setEndPoint(const QString& endPoint);
    void setShowFlag(bool shown);

    QString toString(bool withDetail) const;

    class ErrorPrivate;

private:
    void ensureData();
    QExplicitlySharedDataPointer<ErrorPrivate> d;
};

#endif
