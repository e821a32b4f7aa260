#include "ChangeCommand.h"

#include <QProcess>
#include <QRegularExpression>
#include <utility>

#ifdef Q_OS_UNIX
#include <csignal>
#include <unistd.h>
#endif

namespace {

constexpr int kLimitMs = 30000;
// The first line of the output is looked for this far; the rest is read
// and dropped, so that the command never waits on a full pipe.
constexpr qsizetype kKeptOutput = 1024;

// The words with the change's values put in, each word still one argument.
QStringList withValues(const QStringList &words, const ChangeCommand::Change &change)
{
    static const QRegularExpression field(QStringLiteral("\\{(account|old|new|records)\\}"));
    const auto valueOf = [&change](QStringView name) {
        if (name == u"account")
            return change.account;
        if (name == u"old")
            return change.oldAddress;
        if (name == u"new")
            return change.newAddress;
        return change.records.join(QLatin1Char('\n'));
    };
    QStringList arguments;
    for (const QString &word : words) {
        QString argument;
        qsizetype from = 0;
        for (const QRegularExpressionMatch &m : field.globalMatch(word)) {
            argument += QStringView(word).sliced(from, m.capturedStart() - from);
            argument += valueOf(m.capturedView(1));
            from = m.capturedEnd();
        }
        argument += QStringView(word).sliced(from);
        arguments.append(argument);
    }
    return arguments;
}

} // namespace

int ChangeCommand::LimitMs()
{
    bool number = false;
    const int ms = qEnvironmentVariableIntValue("VELTRIO_ON_CHANGE_LIMIT_MS", &number);
    return number && ms > 0 && ms < kLimitMs ? ms : kLimitMs;
}

ChangeCommand::ChangeCommand(QObject *parent) : QObject(parent)
{
    m_limit.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, this, &ChangeCommand::limitReached);
}

ChangeCommand::~ChangeCommand()
{
    // The program ends: so does a run still going (QProcess waits for it),
    // and nothing is told of it any more.
    if (!m_process)
        return;
    m_process->disconnect(this);
    limitReached();
}

void ChangeCommand::Run(const QString &commandLine, const Change &change)
{
    if (!m_process) {
        start(commandLine, change);
        return;
    }
    if (!m_waiting) {
        m_waiting = Waiting{commandLine, change};
        return;
    }
    m_waiting->commandLine = commandLine;
    m_waiting->change.newAddress = change.newAddress;
    m_waiting->change.records += change.records;
}

void ChangeCommand::start(const QString &commandLine, const Change &change)
{
    const QStringList words = QProcess::splitCommand(commandLine);
    if (words.isEmpty() || words[0].isEmpty()) {
        emit ended(-1, QStringLiteral("the on-change command \"%1\" names no program")
                           .arg(commandLine.trimmed()));
        emit idle();
        return;
    }
    m_program = words[0];
    m_output.clear();
    m_limitReached = false;
    m_process = std::make_unique<QProcess>();
    QProcess *process = m_process.get();
    process->setProgram(m_program);
    process->setArguments(withValues(words.mid(1), change));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("VELTRIO_ACCOUNT"), change.account);
    environment.insert(QStringLiteral("VELTRIO_OLD_ADDRESS"), change.oldAddress);
    environment.insert(QStringLiteral("VELTRIO_NEW_ADDRESS"), change.newAddress);
    environment.insert(QStringLiteral("VELTRIO_RECORDS"), change.records.join(QLatin1Char('\n')));
    process->setProcessEnvironment(environment);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->setStandardInputFile(QProcess::nullDevice());
#ifdef Q_OS_UNIX
    // A group of its own: the limit ends whatever the command started too.
    process->setChildProcessModifier([] { ::setpgid(0, 0); });
#endif
    connect(process, &QProcess::readyRead, this, [this, process] {
        const QByteArray more = process->readAll();
        m_output += more.left(kKeptOutput - m_output.size());
    });
    connect(process, &QProcess::finished, this,
            [this, process](int exitCode, QProcess::ExitStatus status) {
                m_output += process->readAll().left(kKeptOutput - m_output.size());
                if (m_limitReached)
                    done(-1, QStringLiteral("did not end within %1 s and was ended")
                                 .arg(LimitMs() / 1000.0));
                else if (status != QProcess::NormalExit)
                    done(-1, QStringLiteral("ended abnormally (%1)").arg(process->errorString()));
                else
                    done(exitCode, QStringLiteral("exited with %1").arg(exitCode));
            });
    connect(process, &QProcess::errorOccurred, this, [this, process](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            done(-1, QStringLiteral("could not be started: ") + process->errorString());
    });
    m_limit.start(LimitMs());
    process->start();
}

void ChangeCommand::limitReached()
{
    if (!m_process || m_process->state() == QProcess::NotRunning)
        return;
    m_limitReached = true;
#ifdef Q_OS_UNIX
    const qint64 pid = m_process->processId();
    if (pid > 0)
        ::kill(-static_cast<pid_t>(pid), SIGKILL);
#endif
    m_process->kill();
}

void ChangeCommand::done(int exitCode, const QString &how)
{
    m_limit.stop();
    // Its own signal is still being delivered: it goes from the event loop.
    m_process.release()->deleteLater();
    QString text = QStringLiteral("the on-change command ") + m_program + QLatin1Char(' ') + how;
    for (const QByteArray &line : m_output.split('\n')) {
        const QString said = QString::fromLocal8Bit(line).trimmed();
        if (!said.isEmpty()) {
            text += QStringLiteral(": ") + said;
            break;
        }
    }
    emit ended(exitCode, text);
    if (m_waiting) {
        const Waiting next = *std::exchange(m_waiting, std::nullopt);
        start(next.commandLine, next.change);
        return;
    }
    emit idle();
}
