#pragma once

// What a process costs while it runs, read from /proc: wake-ups (context
// switches and times scheduled, summed over all its threads), memory and
// CPU time.
#include <QDir>
#include <QFile>
#include <QMap>
#include <QString>

#include <ctime>
#include <unistd.h>

namespace Bench {

struct WakeUps
{
    qint64 voluntary = 0;    // context switches the threads asked for (waits, polls)
    qint64 nonvoluntary = 0; // preempted
    qint64 scheduled = 0;    // times a thread was put on a CPU (schedstat)

    WakeUps operator-(const WakeUps &o) const
    {
        return {voluntary - o.voluntary, nonvoluntary - o.nonvoluntary, scheduled - o.scheduled};
    }
};

// A "Name:   value kB" line of a /proc status file; -1 when absent.
inline qint64 statusValue(const QString &statusFile, const QByteArray &name)
{
    QFile file(statusFile);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith(name + ':'))
            return line.mid(name.size() + 1).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

// Summed over every thread of the process (/proc/PID/status alone counts the
// main thread's switches only).
inline WakeUps wakeUps(const QString &pid = QStringLiteral("self"))
{
    WakeUps w;
    const QString tasks = QStringLiteral("/proc/%1/task").arg(pid);
    for (const QString &tid : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString dir = tasks + QLatin1Char('/') + tid;
        w.voluntary += qMax<qint64>(
            0, statusValue(dir + QStringLiteral("/status"), "voluntary_ctxt_switches"));
        w.nonvoluntary += qMax<qint64>(
            0, statusValue(dir + QStringLiteral("/status"), "nonvoluntary_ctxt_switches"));
        QFile sched(dir + QStringLiteral("/schedstat"));
        if (sched.open(QIODevice::ReadOnly))
            w.scheduled += sched.readAll().trimmed().split(' ').value(2).toLongLong();
    }
    return w;
}

// The voluntary context switches of each thread, by the thread's name
// (threads of the same name summed).
inline QMap<QString, qint64> switchesByThread(const QString &pid = QStringLiteral("self"))
{
    QMap<QString, qint64> byName;
    const QString tasks = QStringLiteral("/proc/%1/task").arg(pid);
    for (const QString &tid : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString dir = tasks + QLatin1Char('/') + tid;
        QFile comm(dir + QStringLiteral("/comm"));
        const QString name =
            comm.open(QIODevice::ReadOnly) ? QString::fromUtf8(comm.readAll()).trimmed() : tid;
        byName[name] += qMax<qint64>(
            0, statusValue(dir + QStringLiteral("/status"), "voluntary_ctxt_switches"));
    }
    return byName;
}

// Resident memory in KiB; -1 when the process is gone.
inline qint64 rssKiB(const QString &pid = QStringLiteral("self"))
{
    return statusValue(QStringLiteral("/proc/%1/status").arg(pid), "VmRSS");
}

// The fields of /proc/PID/stat after the command name, which is in
// parentheses (so the state is field 0); empty when the process is gone.
inline QList<QByteArray> statFields(const QString &pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray stat = file.readAll();
    return stat.mid(stat.lastIndexOf(')') + 2).split(' ');
}

// CPU time used by a process so far, in clock ticks (utime + stime).
inline qint64 cpuTicks(const QString &pid)
{
    const QList<QByteArray> fields = statFields(pid);
    if (fields.isEmpty())
        return -1;
    return fields.value(11).toLongLong() + fields.value(12).toLongLong();
}

// Memory that is the process's alone, in KiB: the pages no other process
// maps (Private_Clean + Private_Dirty); -1 when the process is gone.
inline qint64 uniqueKiB(const QString &pid)
{
    const QString rollup = QStringLiteral("/proc/%1/smaps_rollup").arg(pid);
    const qint64 clean = statusValue(rollup, "Private_Clean");
    const qint64 dirty = statusValue(rollup, "Private_Dirty");
    return clean < 0 || dirty < 0 ? -1 : clean + dirty;
}

// CPU time used by a process so far in milliseconds: every thread's, ended
// ones too, to the nanosecond (the kernel's clock of the process, the same
// count as utime + stime), and that of its children it has waited for
// (cutime + cstime, in clock ticks); -1 when the process is gone.
inline double cpuMs(qint64 pid)
{
    clockid_t clock{};
    timespec t{};
    if (clock_getcpuclockid(static_cast<pid_t>(pid), &clock) != 0 || clock_gettime(clock, &t) != 0)
        return -1;
    const QList<QByteArray> fields = statFields(QString::number(pid));
    if (fields.isEmpty())
        return -1;
    const double childTicks =
        static_cast<double>(fields.value(13).toLongLong() + fields.value(14).toLongLong());
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6 +
           childTicks * 1e3 / static_cast<double>(sysconf(_SC_CLK_TCK));
}

} // namespace Bench
