#include "net/timeoffset.h"

#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

namespace {

const char* const global_referenceVariable = "QUORLE_TIME_REFERENCE";
const char* const global_defaultReferenceHost = "s3.amazonaws.com";
const int global_defaultReferencePort = 80;

// "host" or "host:port"
QUrl referenceUrl()
{
    const QString value = qEnvironmentVariable(global_referenceVariable).trimmed();
    QUrl url = QUrl::fromUserInput(value.isEmpty() ? QString::fromLatin1(global_defaultReferenceHost)
                                                   : value);
    url.setScheme(QStringLiteral("http"));
    url.setPath(QStringLiteral("/"));
    url.setQuery(QString());
    return url;
}

} // namespace

TimeOffsetThread::TimeOffsetThread(QObject* parent) : QThread(parent)
{
}

QString TimeOffsetThread::referenceHost()
{
    return referenceUrl().host();
}

int TimeOffsetThread::referencePort()
{
    return referenceUrl().port(global_defaultReferencePort);
}

void TimeOffsetThread::httpDone(bool)
{
    exit(0);
}

void TimeOffsetThread::run()
{
    QNetworkAccessManager manager;
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(referenceHost());
    url.setPort(referencePort());
    url.setPath(QStringLiteral("/"));
    QNetworkRequest request(url);
    // One answer from that one host, whatever it says.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    QNetworkReply* reply = manager.head(request);
    // The thread object itself lives in the waiting thread: stay on this one.
    connect(reply, &QNetworkReply::finished, reply,
            [this, reply] { httpDone(reply->error() != QNetworkReply::NoError); },
            Qt::DirectConnection);
    exec();

    if (reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid())
        m_dateTime = fromHttpDate(QString::fromLatin1(reply->rawHeader("Date")));
    delete reply;
}

TimeOffset::TimeOffset(QObject* parent) : QObject(parent)
{
}

void TimeOffset::execute()
{
    m_thread.start(QThread::InheritPriority);
    m_thread.wait();
    const QDateTime remote = m_thread.dateTime();
    if (remote.isNull())
        return;
    m_timeOffset = int(QDateTime::currentDateTime().toUTC().secsTo(remote));
}

int TimeOffset::computeTimeOffset()
{
    TimeOffset measurements[3];
    int sum = 0;
    for (TimeOffset& m : measurements) {
        m.execute();
        sum += m.timeOffset();
    }
    // Integer division truncates towards zero: -2 / 3 is 0.
    return sum / 3;
}

QDateTime fromHttpDate(const QString& text)
{
    const int comma = int(text.indexOf(QLatin1Char(',')));
    QDateTime result;
    if (comma < 0) {
        result = QDateTime::fromString(text, Qt::TextDate);  // asctime
    } else {
        const QLocale c(QLocale::C);
        const QString rest = text.mid(comma + 2);
        // A three-letter day name is RFC 1123; a full one is RFC 850. The first
        // pattern's quote runs to the end and so takes the zone word as it is.
        result = comma == 3 ? c.toDateTime(rest, QStringLiteral("dd MMM yyyy hh:mm:ss 'GMT"))
                            : c.toDateTime(rest, QStringLiteral("dd-MMM-yy hh:mm:ss 'GMT'"));
    }
    if (result.isValid())
        result.setTimeSpec(Qt::UTC);
    return result;
}

bool TimeOffset::offsetFromAnswer(const QByteArray& errorDocument, const QByteArray& dateField, int* offset)
{
    QDateTime remote;
    const int start = errorDocument.indexOf("<ServerTime>");
    const int end = errorDocument.indexOf("</ServerTime>");
    if (start >= 0 && end > start) {
        const int from = start + int(sizeof("<ServerTime>")) - 1;
        remote = QDateTime::fromString(QString::fromLatin1(errorDocument.mid(from, end - from)).trimmed(),
                                       Qt::ISODateWithMs);
    }
    if (!remote.isValid())
        remote = fromHttpDate(QString::fromLatin1(dateField));
    if (!remote.isValid())
        return false;
    *offset = int(QDateTime::currentDateTimeUtc().secsTo(remote.toUTC()));
    return true;
}
