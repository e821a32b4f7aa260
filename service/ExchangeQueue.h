#pragma once

#include "Transport.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <deque>
#include <functional>

class QNetworkReply;

// Every exchange with the service goes through this one queue: at most one
// request is in flight for the whole program, the next starts from the event
// loop after the previous one has finished, and each has a deadline for the
// whole exchange (a server that trickles bytes does not keep it open).
//
// A user's command sends and waits (Send); background work posts and carries
// on when its reply is in (Post). Both wait their turn in the order they were
// asked for, so replies reach the session in the order the service answered.
class ExchangeQueue : public QObject
{
    Q_OBJECT

public:
    // The reply body; empty when the exchange failed or ran out of time.
    using Done = std::function<void(const QString &reply)>;

    static ExchangeQueue &Instance();

    // Queues a GET of url; done runs with the reply once it is in, unless
    // context is gone by then. HTTPS trusts caFile's CAs beside the system's.
    void Post(const QUrl &url, const QString &caFile, QObject *context, Done done,
              Transport::Delivery delivery = Transport::Delivery::MayRepeat);

    // Queues a GET of url and waits for its reply in a local event loop that
    // keeps windows painting but holds back user input. The wait counts as
    // the user's work: background work does not start inside it.
    QString Send(const QUrl &url, const QString &caFile,
                 Transport::Delivery delivery = Transport::Delivery::MayRepeat);

    // The exchanges finished so far. Each one's number, in the order the
    // service answered, is this count as it stands while its reply is handed
    // on (and, for Send, right after it returned): a later reply has a
    // larger number.
    quint64 Finished() const { return m_finished; }

    // No exchange in flight or waiting.
    bool IsIdle() const;
    // Waits until the queue is idle or the time is up; true when idle. Used
    // when the program ends, so that an exchange already asked for (the add
    // that follows a delete) still goes out.
    bool Drain(int milliseconds);
    // Ends every exchange at once: the one in flight is aborted and none of
    // the waiting ones starts; each gets an empty reply, in order, before
    // this returns.
    void AbortAll();

    // The deadline of one exchange in milliseconds, from its start.
    int Deadline() const { return m_deadlineMs; }
    void SetDeadline(int milliseconds) { m_deadlineMs = milliseconds; }

signals:
    void idle();

private:
    explicit ExchangeQueue(QObject *parent);

    struct Job
    {
        QUrl url;
        QString caFile;
        QPointer<QObject> context;
        Done done;
        Transport::Delivery delivery;
    };

    void scheduleNext();
    void startNext();
    void finishCurrent();

    std::deque<Job> m_waiting;
    std::optional<Job> m_current;
    QPointer<QNetworkReply> m_reply;
    QTimer m_deadline;
    int m_deadlineMs = 60000;
    bool m_startScheduled = false;
    quint64 m_finished = 0;
};
