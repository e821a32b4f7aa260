#pragma once

#include "DnsdRun.h"
#include "MainWindowTest.h"

#include <optional>

// Base of the tests that run the real veltrio-dnsd against veltrio-service:
// the program's runs, and what the service and the settings must hold
// after them.
class ServiceModeTest : public MainWindowTest
{
protected:
    static inline const QString kAcmeAuto =
        QStringLiteral("ACME.TEST;;A;;MAIL;;203.0.113.7~~ACME-SHOP.TEST;;PORT RELAY;;SHOP;;"
                       "HTTP://203.0.113.7:8080/SHOP~~ACME-SHOP.TEST;;A;;@;;198.51.100.20~~");

    std::optional<DnsdRun> m_dnsd;

    void startDnsd(QProcess &process, const QStringList &options)
    {
        QVERIFY2(m_dnsd->start(process, options), "VELTRIO_DNSD_BIN is not set");
    }
    DnsdRun::Result runDnsd(const QStringList &options) { return m_dnsd->run(options); }
    static bool askToEnd(QProcess &process) { return DnsdRun::askToEnd(process); }
    static constexpr const char *kNoCtrlBreak = DnsdRun::kNoCtrlBreak;
    QString dailyLogs() const { return m_dnsd->dailyLogs(); }

    void saveLogin(const QString &user)
    {
        writeValues(kInit, {{"bSaveLogin", 1}, {"Username", user}, {"Password", user}});
    }

    // The entries of the account's saved automatic list, upper-cased.
    QStringList marks(const QString &user) const
    {
        QStringList entries;
        for (const QString &e :
             readValue(userKey(user), "AutoIps").toUpper().split(QStringLiteral("~~")))
            if (!e.isEmpty())
                entries << e + QStringLiteral("~~");
        entries.sort();
        return entries;
    }
    // What the account's journal still holds, in the settings' own words.
    QString owed(const QString &user) const
    {
        return readValue(userKey(user), "Replaces") + readValue(userKey(user), "PendingAdds");
    }

    // The acme account's three automatic records (mail, the shop's relay,
    // acme-shop.test itself) and the free sub-domain automatic, last
    // pointed at kOld.
    void markAutomatic()
    {
        writeValues(userKey(QStringLiteral("acme")), {{"AutoIPs", kAcmeAuto}});
        writeValues(userKey(QStringLiteral("demo")), {{"bAutoIP", 1}, {"IPAddress", kOld}});
    }

    // The records of the account when its automatic ones point at address,
    // as "domain;;type;;name;;address", each once; the settings mark them
    // and owe nothing.
    void verifyAt(const QString &user, const QString &address)
    {
        QStringList held = m_service->stateRecords(user);
        QStringList expected;
        if (user == QStringLiteral("demo")) {
            expected = {QStringLiteral("dyn.veltrio.test;;A;;demo;;") + address};
            QCOMPARE(readValue(userKey(user), "IPAddress"), address);
        } else {
            const QString relay =
                QStringLiteral("http://") + address + QStringLiteral(":8080/shop");
            expected = {QStringLiteral("acme.test;;A;;@;;203.0.113.7"),
                        QStringLiteral("acme.test;;A;;mail;;") + address,
                        QStringLiteral("acme.test;;CNAME;;www;;acme.test"),
                        QStringLiteral("acme.test;;MX;;@;;mail.acme.test"),
                        QStringLiteral("acme-shop.test;;A;;@;;") + address,
                        QStringLiteral("acme-shop.test;;PORT RELAY;;shop;;") + relay};
            QStringList marked{
                QStringLiteral("ACME.TEST;;A;;MAIL;;") + address + QStringLiteral("~~"),
                QStringLiteral("ACME-SHOP.TEST;;PORT RELAY;;SHOP;;") + relay.toUpper() +
                    QStringLiteral("~~"),
                QStringLiteral("ACME-SHOP.TEST;;A;;@;;") + address + QStringLiteral("~~")};
            marked.sort();
            QCOMPARE(marks(user), marked);
        }
        // Compared as the record list's keys are: without regard to case.
        for (QStringList *list : {&held, &expected}) {
            *list = list->join(u'\n').toUpper().split(u'\n');
            list->sort();
        }
        QCOMPARE(held, expected);
        QCOMPARE(owed(user), QString());
    }

    // An executable shell script in the test's folder, for the on-change
    // command.
    QString writeHook(const char *name, const QByteArray &body) const
    {
        QFile file(m_dir->filePath(QLatin1String(name)));
        if (!file.open(QIODevice::WriteOnly) || file.write("#!/bin/sh\n" + body + '\n') < 0)
            return QString();
        file.close();
        file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
        return file.fileName();
    }
    static QByteArray contentsOf(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // No record command reached the service twice in the run just made.
    void verifySentOnce(const QString &output)
    {
        const QStringList commands = sent();
        for (const QString &command : commands)
            QVERIFY2(commands.count(command) == 1,
                     qPrintable(QStringLiteral("sent twice: ") + command + QStringLiteral("\n") +
                                output));
    }
};
