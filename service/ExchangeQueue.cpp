#include "ExchangeQueue.h"

#include "Foreground.h"
#include "Transport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QNetworkReply>
#include <optional>

ExchangeQueue &ExchangeQueue::Instance()
{
    // Made again if a new application object follows (tests); it goes with
    // the application object.
    static QPointer<ExchangeQueue> instance;
    if (!instance)
        instance = new ExchangeQueue(QCoreApplication::instance());
    return *instance;
}

ExchangeQueue::ExchangeQueue(QObject *parent) : QObject(parent)
{
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, [this] {
        // abort() finishes the reply before it returns.
        if (m_reply)
            m_reply->abort();
    });
}

void ExchangeQueue::Post(const QUrl &url, const QString &caFile, QObject *context, Done done,
                         Transport::Delivery delivery)
{
    m_waiting.push_back({url, caFile, context, std::move(done), delivery});
    scheduleNext();
}

QString ExchangeQueue::Send(const QUrl &url, const QString &caFile, Transport::Delivery delivery)
{
    if (!QCoreApplication::instance())
        return QString();
    const Foreground::Scope waiting;
    QEventLoop loop;
    std::optional<QString> reply;
    Post(
        url, caFile, &loop,
        [&](const QString &body) {
            reply = body;
            loop.quit();
        },
        delivery);
    if (!reply)
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    return reply.value_or(QString());
}

bool ExchangeQueue::IsIdle() const
{
    return !m_current && m_waiting.empty();
}

bool ExchangeQueue::Drain(int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!IsIdle() && !deadline.hasExpired()) {
        QEventLoop loop;
        connect(this, &ExchangeQueue::idle, &loop, &QEventLoop::quit);
        QTimer::singleShot(deadline.remainingTime(), &loop, &QEventLoop::quit);
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
    return IsIdle();
}

void ExchangeQueue::AbortAll()
{
    std::deque<Job> waiting;
    waiting.swap(m_waiting);
    // abort() finishes the reply, and its job, before it returns.
    if (m_reply)
        m_reply->abort();
    else if (m_current)
        finishCurrent();
    for (Job &job : waiting) {
        ++m_finished;
        if (job.context)
            job.done(QString());
    }
    if (IsIdle())
        emit idle();
}

void ExchangeQueue::scheduleNext()
{
    // The next exchange starts from the event loop, never inside the handler
    // of the one before it.
    if (m_startScheduled || m_current || m_waiting.empty())
        return;
    m_startScheduled = true;
    QTimer::singleShot(0, this, &ExchangeQueue::startNext);
}

void ExchangeQueue::startNext()
{
    m_startScheduled = false;
    if (m_current || m_waiting.empty())
        return;
    m_current = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_reply = Transport::StartGet(m_current->url, m_current->caFile, m_current->delivery);
    if (!m_reply) {
        QTimer::singleShot(0, this, &ExchangeQueue::finishCurrent);
        return;
    }
    connect(m_reply, &QNetworkReply::finished, this, &ExchangeQueue::finishCurrent);
    m_deadline.start(m_deadlineMs);
}

void ExchangeQueue::finishCurrent()
{
    if (!m_current)
        return;
    m_deadline.stop();
    QString body;
    if (m_reply) {
        body = Transport::Body(m_reply);
        m_reply->deleteLater();
        m_reply = nullptr;
    }
    Job job = std::move(*m_current);
    m_current.reset();
    ++m_finished;
    scheduleNext();
    if (job.context)
        job.done(body);
    if (IsIdle())
        emit idle();
}
