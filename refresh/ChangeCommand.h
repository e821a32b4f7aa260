#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <memory>
#include <optional>

class QProcess;

// The user's command after a check that changed records (the account's
// "OnChange" setting, or veltrio-dnsd's --on-change). It never goes through
// a shell: the line is split into the program and its arguments by
// QProcess::splitCommand (blanks separate words, double quotes hold them
// together), and in each argument {account}, {old}, {new} and {records}
// stand for the change's values, put in as they are, never split again. The
// environment carries them as well: VELTRIO_ACCOUNT, VELTRIO_OLD_ADDRESS,
// VELTRIO_NEW_ADDRESS and VELTRIO_RECORDS (one record a line).
//
// Nothing waits for it: a run has LimitMs() and is then ended, with
// whatever it started (its own process group on Unix). While a run goes on,
// the next change waits for it; a change that comes while one already waits
// joins that one (from its old address to the newest, every record of both),
// so at most one run and one waiting run exist at any time.
class ChangeCommand : public QObject
{
    Q_OBJECT

public:
    struct Change
    {
        QString account;
        QString oldAddress;
        QString newAddress;
        QStringList records;
    };

    // How long one run may take: 30 s, or $VELTRIO_ON_CHANGE_LIMIT_MS when
    // that holds a smaller number (the tests).
    static int LimitMs();

    explicit ChangeCommand(QObject *parent = nullptr);
    ~ChangeCommand() override;

    // Runs the command line for a change; a line of blanks only says so
    // through ended().
    void Run(const QString &commandLine, const Change &change);
    // No run goes on or waits.
    bool Idle() const { return !m_process && !m_waiting; }

signals:
    // A run has ended: its exit code (-1 when it did not exit by itself or
    // never started) and one line on how, with the first line it printed.
    void ended(int exitCode, const QString &text);
    // The last run has ended and none waits.
    void idle();

private:
    void start(const QString &commandLine, const Change &change);
    void done(int exitCode, const QString &how);
    void limitReached();

    struct Waiting
    {
        QString commandLine;
        Change change;
    };
    std::unique_ptr<QProcess> m_process;
    std::optional<Waiting> m_waiting;
    QString m_program;
    QByteArray m_output;
    QTimer m_limit;
    bool m_limitReached = false;
};
