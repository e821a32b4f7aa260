#pragma once

#include "RegistryStore.h"
#include "ServiceProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

// Runs the real veltrio-dnsd (VELTRIO_DNSD_BIN) against the service at
// 127.0.0.1 on RegistryStore::File(), its config and daily logs in folder.
class DnsdRun
{
public:
    // What one run printed and how it ended (-1: it did not end by itself).
    struct Result
    {
        int exitCode = -1;
        QString output;
    };

    // timeoutSeconds: the deadline of one exchange ("Timeout" of veltrio.conf).
    explicit DnsdRun(const QString &folder, int timeoutSeconds = 60) : m_folder(folder)
    {
        QFile config(configFile());
        if (config.open(QIODevice::WriteOnly))
            config.write(QStringLiteral("[Service]\nHttpHost=127.0.0.1\nDefaultServerAddress="
                                        "192.0.2.1\nTimeout=%1\n")
                             .arg(timeoutSeconds)
                             .toUtf8());
    }

    QString configFile() const { return QDir(m_folder).filePath(QStringLiteral("veltrio.conf")); }
    QString logFolder() const { return QDir(m_folder).filePath(QStringLiteral("dnsd-logs")); }

    // Runs the program through this command (unshare, for instance).
    void setWrapper(const QStringList &wrapper) { m_wrapper = wrapper; }

    // Starts it with these options; false when there is no program to start.
    bool start(QProcess &process, const QStringList &options) const
    {
        const QString binary = qEnvironmentVariable("VELTRIO_DNSD_BIN");
        if (!QFileInfo(binary).isExecutable())
            return false;
        QStringList words = m_wrapper;
        words << binary << QStringLiteral("--config") << configFile()
              << QStringLiteral("--settings") << RegistryStore::File()
              << QStringLiteral("--log-dir") << logFolder() << options;
        process.setProcessChannelMode(QProcess::MergedChannels);
#ifdef Q_OS_WIN
        // A process group of its own, so that a Ctrl-Break reaches it alone.
        process.setCreateProcessArgumentsModifier([](QProcess::CreateProcessArguments *arguments) {
            arguments->flags |= CREATE_NEW_PROCESS_GROUP;
        });
#endif
        process.start(words.takeFirst(), words);
        return process.waitForStarted();
    }

    // One run to its end (killed after 90 s).
    Result run(const QStringList &options) const
    {
        QProcess process;
        if (!start(process, options))
            return {-1, QStringLiteral("VELTRIO_DNSD_BIN names no program")};
        return finish(process, 90000);
    }

    static Result finish(QProcess &process, int ms)
    {
        if (!process.waitForFinished(ms))
            process.kill();
        process.waitForFinished(5000);
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromLocal8Bit(process.readAll())};
    }

    // SIGTERM or Ctrl-Break; false only under Wine.
    static bool askToEnd(QProcess &process)
    {
#ifdef Q_OS_WIN
        return GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, DWORD(process.processId())) ||
               !HelperProcess::underWine();
#else
        process.terminate();
        return true;
#endif
    }
    static constexpr const char *kNoCtrlBreak =
        "Wine sends no console control event: GenerateConsoleCtrlEvent fails there";

    // Every daily log's text.
    QString dailyLogs() const
    {
        QString text;
        const QDir folder(logFolder());
        for (const QString &name : folder.entryList(QDir::Files)) {
            QFile file(folder.filePath(name));
            if (file.open(QIODevice::ReadOnly))
                text += QString::fromLocal8Bit(file.readAll());
        }
        return text;
    }

private:
    QString m_folder;
    QStringList m_wrapper;
};
