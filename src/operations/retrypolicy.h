#ifndef RETRYPOLICY_H
#define RETRYPOLICY_H

#include <QString>

class AbstractOperation;
class HttpResponseHeader;

// How often and how soon a failed atomic operation runs again. One policy for
// every layer, so that retries can't multiply: a web request goes out at most
// maxWebSends times in all (the HTTP client's own resends included), a local
// operation runs at most maxLocalRuns times. A wait is a "not before" time on
// the replacement that the scheduler respects; no thread sleeps.
namespace RetryPolicy {

constexpr int maxWebSends = 9;
constexpr int maxLocalRuns = 5;
constexpr int firstDelayMs = 500;
constexpr int maxDelayMs = 15000;
// A store's Retry-After is followed up to this, and no further.
constexpr int maxHintMs = 30000;
constexpr int maxTotalDelayMs = 90000;

bool allowsAnother(const AbstractOperation* op);
// How many resends the HTTP client may still make on its own for op's request.
int clientResendsLeft(const AbstractOperation* op);
// The wait before attempt `failures` + 1, doubling from firstDelayMs up to
// maxDelayMs, with jitter (0 to 1) taking off up to half; a "SlowDown" doubles
// it, the store's hint is a floor, and the waits of one request never add up
// to more than maxTotalDelayMs.
int delayMs(int failures, int waitedMs, int hintMs, bool slowDown, double jitter);
// The wait as this run takes it: QUORLE_RETRY_DELAY_SCALE (a factor, 1 when
// unset) lets the unit tests run through nine attempts in no time.
int scaled(int delayMs);
// "Retry-After" in milliseconds (seconds or an HTTP date), 0 without one.
int retryAfterMs(const HttpResponseHeader& header);
// Why op failed, in a few words, for the log and the failure summary.
QString reason(const AbstractOperation* op);

} // namespace RetryPolicy

#endif
