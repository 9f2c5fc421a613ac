#ifndef TESTOPERATIONS_H
#define TESTOPERATIONS_H

#include <QMutex>
#include <QSet>
#include <QThread>

#include "operations/abstractwebserviceoperation.h"
#include "operations/abstractlocaloperation.h"
#include "operations/abstractshelloperation.h"

// Records the threads that ran handler work and how many ran at once.
struct HandlerProbe
{
    QMutex mutex;
    QSet<QThread*> threads;
    int inFlight = 0;
    int maxInFlight = 0;
    int runs = 0;
    int sleepMs = 0;

    void enter();
};

// A local atomic operation that does nothing but tell the probe where it ran.
class ProbeLocalOperation : public AbstractLocalOperation
{
public:
    explicit ProbeLocalOperation(HandlerProbe* probe = nullptr) : m_probe(probe) {}
    int type() const override { return 9997; }
    QString name() const override { return QStringLiteral("Probe"); }
    ProbeLocalOperation* clone(OperationGroup* parent) const override;
    void run(LocalOperationRunner&) override;

private:
    HandlerProbe* m_probe;
};

// A web operation whose answer the test writes by hand.
class FakeWebOperation : public AbstractWebServiceOperation
{
public:
    explicit FakeWebOperation(bool storage = true) : m_storage(storage) {}
    int type() const override { return 9999; }
    QString name() const override { return QStringLiteral("Fake web"); }
    bool isStorageOperation() const override { return m_storage; }
    FakeWebOperation* clone(OperationGroup* parent) const override;
    QUrl url() const override { return QUrl(); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::GetMethod; }
    bool processResponseData() override { return true; }
    void prepareRequestHeader(HttpRequestHeader&) override {}
    QUrl canonicalizedResource() const override { return QUrl(); }
    QSharedPointer<AbstractAccount> account() const override { return {}; }

private:
    bool m_storage;
};

// A shell operation that appends the children it is given, in order.
class ListShellOperation : public AbstractShellOperation
{
public:
    explicit ListShellOperation(QList<AbstractOperation*> children = {}) : m_children(children) {}
    ~ListShellOperation() override { qDeleteAll(m_children); }
    int type() const override { return 9998; }
    QString name() const override { return QStringLiteral("List shell"); }
    QString sourceDisplayPath() const override { return QString(); }
    QString destinationDisplayPath() const override { return QString(); }
    bool isEffectiveOperation() const override { return true; }
    void prepareFirstOperation() override;

private:
    QList<AbstractOperation*> m_children;
};

#endif
