#pragma once

#include "DnsdRun.h"
#include "MainWindowTest.h"

#include <optional>

// Base of the tests that run the real veltrio-dnsd against veltrio-service.
class ServiceModeTest : public MainWindowTest
{
protected:
    std::optional<DnsdRun> m_dnsd;

    DnsdRun::Result runOnce() { return m_dnsd->run({QStringLiteral("--once")}); }

    // Reads what the running program printed until it holds part.
    static bool said(QProcess &process, QString &output, const QString &part, int ms = 20000)
    {
        return QTest::qWaitFor(
            [&] {
                output += QString::fromLocal8Bit(process.readAll());
                return output.contains(part);
            },
            ms);
    }

    void saveLogin(const QString &user, const QString &password = QString())
    {
        writeValues(kInit, {{"bSaveLogin", 1},
                            {"Username", user},
                            {"Password", password.isNull() ? user : password}});
    }

    // The entries of the account's saved automatic list, upper-cased.
    QStringList marks(const QString &user) const
    {
        QStringList entries = readValue(userKey(user), "AutoIps")
                                  .toUpper()
                                  .split(QStringLiteral("~~"), Qt::SkipEmptyParts);
        entries.sort();
        return entries;
    }
    // What the account's journal still holds, in the settings' own words.
    QString owed(const QString &user) const
    {
        return readValue(userKey(user), "Replaces") + readValue(userKey(user), "PendingAdds");
    }

    // acme's mail, shop relay and acme-shop.test automatic; demo's free
    // sub-domain automatic, last pointed at kOld.
    void markAutomatic()
    {
        writeValues(userKey(QStringLiteral("acme")),
                    {{"AutoIPs", QStringLiteral("ACME.TEST;;A;;MAIL;;203.0.113.7~~ACME-SHOP.TEST;;"
                                                "PORT RELAY;;SHOP;;HTTP://203.0.113.7:8080/SHOP~~"
                                                "ACME-SHOP.TEST;;A;;@;;198.51.100.20~~")}});
        writeValues(userKey(QStringLiteral("demo")), {{"bAutoIP", 1}, {"IPAddress", kOld}});
    }

    // Every record once (keys match without regard to case), the automatic
    // ones at address and marked, nothing owed.
    void verifyAt(const QString &user, const QString &address)
    {
        const auto upperSorted = [](QStringList list) {
            for (QString &entry : list)
                entry = entry.toUpper();
            list.sort();
            return list;
        };
        QStringList expected{QStringLiteral("dyn.veltrio.test;;A;;demo;;") + address};
        if (user == QStringLiteral("demo")) {
            QCOMPARE(readValue(userKey(user), "IPAddress"), address);
        } else {
            expected = QStringList{QStringLiteral("acme.test;;A;;mail;;") + address,
                                   QStringLiteral("acme-shop.test;;PORT RELAY;;shop;;http://") +
                                       address + QStringLiteral(":8080/shop"),
                                   QStringLiteral("acme-shop.test;;A;;@;;") + address};
            QCOMPARE(marks(user), upperSorted(expected));
            expected << QStringLiteral("acme.test;;A;;@;;203.0.113.7")
                     << QStringLiteral("acme.test;;CNAME;;www;;acme.test")
                     << QStringLiteral("acme.test;;MX;;@;;mail.acme.test");
        }
        QCOMPARE(upperSorted(m_service->stateRecords(user)), upperSorted(expected));
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
        QVERIFY2(QSet<QString>(commands.cbegin(), commands.cend()).size() == commands.size(),
                 qPrintable(commands.join(u'\n') + u'\n' + output));
    }
};
