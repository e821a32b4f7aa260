#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGTERM, SIGINT and SIGHUP into Qt signals: the handler only writes
// the signal's number to a socket pair, and the event loop reads it, so
// everything the program does about it runs between two events. On Windows
// (SignalWatcher_win.cpp) the console's Ctrl-C, Ctrl-Break and close are the
// stop, posted to the event loop from the thread the system runs them on.
class SignalWatcher : public QObject
{
    Q_OBJECT

public:
    explicit SignalWatcher(QObject *parent = nullptr);
    ~SignalWatcher() override;

signals:
    // SIGTERM or SIGINT; on Windows a console control event.
    void stopRequested();
    // SIGHUP (never on Windows).
    void reloadRequested();

#ifndef Q_OS_WIN
private:
    void readSignal();

    QSocketNotifier *m_notifier = nullptr;
#endif
};
