#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGTERM, SIGINT and SIGHUP into Qt signals: the handler only writes
// the signal's number to a socket pair, and the event loop reads it, so
// everything the program does about it runs between two events.
class SignalWatcher : public QObject
{
    Q_OBJECT

public:
    explicit SignalWatcher(QObject *parent = nullptr);
    ~SignalWatcher() override;

signals:
    // SIGTERM or SIGINT.
    void stopRequested();
    // SIGHUP.
    void reloadRequested();

private:
    void readSignal();

    QSocketNotifier *m_notifier = nullptr;
};
