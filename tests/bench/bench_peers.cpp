// veltrio-dnsd beside two generic dynamic-DNS daemons, inadyn and ddclient
// (Debian's packages: bash scripts/setup inadyn ddclient), in one run, each
// checking every minute (ddclient checks no more often) for the same four
// host names: veltrio-dnsd against veltrio-service with an account of ten
// records, four of them automatic; inadyn and ddclient each against a
// provider endpoint of this program's own (a checkip page and dyndns2's
// /nic/update). Measured from /proc, per program: unique and resident memory
// after two minutes, CPU per minute and per unchanged check, context
// switches per minute, and CPU per record of the check after the public
// address changed. Then veltrio-dnsd alone, checking every 5 s: an unchanged
// check of 10 records against one of 10,000, and the changed check of 1,000
// automatic records in the 10,000.
//
// The run takes namespaces of its own before anything else (see main()): a
// network where the loopback interface is all there is, so that no program
// of the run reaches, or looks up a name at, any other address; and
// processes that all end when the run does.
//
// It fails when a program is missing, a check did not happen, or a record
// did not end at the new address; never on a figure.
#include "BenchProc.h"
#include "BenchRecords.h"
#include "BenchSession.h"
#include "DnsdRun.h"
#include "ServiceProcess.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QUrlQuery>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

const QString kFirst = QStringLiteral("203.0.113.7");
const QString kSecond = QStringLiteral("198.51.100.50");
const QString kThird = QStringLiteral("198.51.100.77");
constexpr int kSmall = 10; // records of the account the three programs keep
constexpr int kLarge = 10000;
constexpr int kLargeAuto = 1000; // automatic records of the large account
constexpr int kEvery = 60;       // seconds between two checks, all three
constexpr int kFastEvery = 5;    // veltrio-dnsd alone
constexpr int kSampleMs = 200;
// Samples after a check's last request that still count to it: its reply
// is read by then.
constexpr size_t kSettle = 5;

QElapsedTimer g_clock;

// The host names the peers keep: the automatic records of the small account.
QStringList automaticHosts()
{
    QStringList hosts;
    for (int i = 0; i < kSmall; ++i) {
        if (Bench::isAutomatic(i)) {
            const QStringList r = Bench::record(i);
            hosts << r[2] + u'.' + r[0];
        }
    }
    return hosts;
}

// A dynamic-DNS provider as generic daemons speak to it, on 127.0.0.1 with a
// port for one program: a checkip page that shows the public address, and
// dyndns2's /nic/update (host names separated by commas; "good" or "nochg"
// with the address, a line for each). One request a connection, closed after
// the reply: the programs read a reply to its end.
class ProviderEndpoint
{
public:
    explicit ProviderEndpoint(const QString &address) : m_address(address)
    {
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection()) {
                QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
                QObject::connect(socket, &QTcpSocket::readyRead, socket,
                                 [this, socket] { answer(*socket); });
            }
        });
    }

    bool listen() { return m_server.listen(QHostAddress::LocalHost, 0); }
    quint16 port() const { return m_server.serverPort(); }
    void setAddress(const QString &address) { m_address = address; }
    int requests() const { return m_requests; }
    int updates() const { return m_updates; }
    // How many of hosts the provider holds at address.
    qsizetype at(const QStringList &hosts, const QString &address) const
    {
        return std::count_if(hosts.begin(), hosts.end(),
                             [&](const QString &host) { return m_records.value(host) == address; });
    }

private:
    void answer(QTcpSocket &socket)
    {
        // The request's head is in once its empty line is.
        if (!socket.peek(socket.bytesAvailable()).contains("\r\n\r\n"))
            return;
        const QByteArray head = socket.readAll();
        const QUrl url(QString::fromLatin1(head.left(head.indexOf('\r')).split(' ').value(1)));
        const QUrlQuery query(url);
        QByteArray status = "200 OK";
        QByteArray body;
        if (url.path() == QLatin1String("/checkip")) {
            body = "Current IP Address: " + m_address.toLatin1() + '\n';
        } else if (url.path() == QLatin1String("/nic/update")) {
            ++m_updates;
            const QString address = query.queryItemValue(QStringLiteral("myip"));
            for (const QString &host :
                 query.queryItemValue(QStringLiteral("hostname")).split(u',')) {
                const bool same = m_records.value(host) == address;
                m_records.insert(host, address);
                body += (same ? "nochg " : "good ") + address.toLatin1() + '\n';
            }
        } else {
            status = "404 Not Found";
        }
        ++m_requests;
        socket.write("HTTP/1.1 " + status + "\r\nContent-Type: text/plain\r\nContent-Length: " +
                     QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
        socket.disconnectFromHost();
    }

    QTcpServer m_server;
    QString m_address;
    QHash<QString, QString> m_records;
    int m_requests = 0;
    int m_updates = 0;
};

struct Sample
{
    qint64 ms = 0;
    double cpuMs = 0;
    int requests = 0;
};

// A check as the samples show it: the requests that reached the program's
// endpoint in a row, and the program's CPU from the sample before the first
// to kSettle samples after the last.
struct Check
{
    double cpuMs = 0;
    int requests = 0;
    qint64 wallMs = 0; // first request to last
};

// One program of the run.
struct Program
{
    Program(const char *name, std::function<int()> requests)
        : name(name), requests(std::move(requests))
    {}

    const char *name;
    QProcess process;
    std::function<int()> requests; // that its endpoint has received so far
    std::vector<Sample> samples;

    qint64 pid() const { return process.processId(); }
    QString pidText() const { return QString::number(pid()); }

    // The checks that began in samples [from, to).
    std::vector<Check> checks(size_t from = 0, size_t to = SIZE_MAX) const
    {
        std::vector<Check> found;
        const size_t end = std::min(to, samples.size());
        for (size_t i = std::max<size_t>(from, 1); i < end; ++i) {
            if (samples[i].requests == samples[i - 1].requests)
                continue;
            size_t last = i;
            for (size_t j = i + 1; j < samples.size() && j <= last + kSettle; ++j) {
                if (samples[j].requests != samples[j - 1].requests)
                    last = j;
            }
            const size_t after = std::min(last + kSettle, samples.size() - 1);
            found.push_back({samples[after].cpuMs - samples[i - 1].cpuMs,
                             samples[last].requests - samples[i - 1].requests,
                             samples[last].ms - samples[i].ms});
            i = after;
        }
        return found;
    }

    bool stop()
    {
        process.terminate();
        return process.waitForFinished(15000);
    }
};

// Samples the programs every kSampleMs for ms, or until done() holds; false
// when done() never held.
bool sample(const std::vector<Program *> &programs, int ms,
            const std::function<bool()> &done = nullptr)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < ms) {
        for (Program *p : programs)
            p->samples.push_back({g_clock.elapsed(), Bench::cpuMs(p->pid()), p->requests()});
        if (done && done())
            return true;
        QTest::qWait(kSampleMs);
    }
    return !done;
}

// The first sample index at or after ms.
size_t sampleAt(const Program &p, qint64 ms)
{
    size_t i = 0;
    while (i < p.samples.size() && p.samples[i].ms < ms)
        ++i;
    return i;
}

double mean(const std::vector<Check> &checks)
{
    double sum = 0;
    for (const Check &c : checks)
        sum += c.cpuMs;
    return checks.empty() ? 0 : sum / static_cast<double>(checks.size());
}

double medianCpu(const std::vector<Check> &checks)
{
    std::vector<double> cpu;
    for (const Check &c : checks)
        cpu.push_back(c.cpuMs);
    return Bench::median(cpu);
}

QString program(const QString &name)
{
    return QStandardPaths::findExecutable(
        name, {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/bin"), QStringLiteral("/sbin")});
}

QByteArray packageVersion(const QString &package)
{
    QProcess dpkg;
    dpkg.start(QStringLiteral("dpkg-query"),
               {QStringLiteral("-W"), QStringLiteral("-f=${Version}"), package});
    return dpkg.waitForFinished(10000) ? dpkg.readAllStandardOutput() : QByteArray("?");
}

bool writeFile(const QString &name, const QByteArray &text)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() &&
           file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

// The saved login of user at service, marking automatic the rows given, in
// a settings file of its own in dir.
void prepareDnsd(const QTemporaryDir &dir, const ServiceProcess &service, const QString &user,
                 const QString &autoIPs)
{
    RegistryStore::SetFile(dir.filePath(user + QStringLiteral(".ini")));
    Bench::writeSavedLogin(service, user);
    RegistryStore store;
    store.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\") + user);
    store.WriteValue(QStringLiteral("AutoIPs"), autoIPs, RegistryStore::Text);
}

// The automatic list of the first count automatic records.
QString autoList(int count, const QString &address)
{
    QString list;
    for (int i = 0; count > 0; ++i) {
        if (!Bench::isAutomatic(i))
            continue;
        list +=
            (Bench::record(i, address).join(QStringLiteral(";;")) + QStringLiteral("~~")).toUpper();
        --count;
    }
    return list;
}

// How many of the user's automatic records (the first count) hold address
// at the service.
int automaticAt(const ServiceProcess &service, const QString &user, int count,
                const QString &address)
{
    const QStringList records = service.stateRecords(user);
    const QSet<QString> held(records.begin(), records.end());
    int found = 0;
    for (int i = 0, n = count; n > 0; ++i) {
        if (!Bench::isAutomatic(i))
            continue;
        found += held.contains(Bench::record(i, address).join(QStringLiteral(";;")));
        --n;
    }
    return found;
}

int sentCommands(const QStringList &requests, const char *command)
{
    return static_cast<int>(
        requests.filter(QStringLiteral("DNSCommand=") + QLatin1String(command)).size());
}

} // namespace

class BenchPeers : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Nothing but the loopback interface where the programs run.
        QFile dev(QStringLiteral("/proc/net/dev"));
        QVERIFY(dev.open(QIODevice::ReadOnly));
        QStringList interfaces;
        for (const QByteArray &line : dev.readAll().split('\n').mid(2)) {
            if (line.contains(':'))
                interfaces << QString::fromLatin1(line.left(line.indexOf(':')).trimmed());
        }
        QCOMPARE(interfaces, QStringList{QStringLiteral("lo")});
        g_clock.start();
    }

    void beside_inadyn_ddclient()
    {
        const QString inadynBin = program(QStringLiteral("inadyn"));
        const QString ddclientBin = program(QStringLiteral("ddclient"));
        QVERIFY2(!inadynBin.isEmpty() && !ddclientBin.isEmpty(),
                 "inadyn or ddclient is not installed: bash scripts/setup inadyn ddclient "
                 "(scripts/bench does)");
        QTemporaryDir dir;
        const QStringList hosts = automaticHosts();
        const int hostCount = static_cast<int>(hosts.size());

        // --- veltrio-dnsd's side: veltrio-service with an account of ten records,
        // the automatic ones at the public address already.
        ServiceProcess service;
        const QString user = QStringLiteral("ten");
        QVERIFY(
            Bench::writeAccounts(service.accountsFile(), user, Bench::makeRecords(kSmall, kFirst)));
        QVERIFY2(service.start(ServiceProcess::HttpOnly, kFirst),
                 qPrintable(service.errorString()));
        prepareDnsd(dir, service, user, autoList(hosts.size(), kFirst));
        DnsdRun dnsdRun(dir.path());

        // --- The peers' side: an endpoint each, and their configurations.
        ProviderEndpoint inadynEnd(kFirst);
        ProviderEndpoint ddclientEnd(kFirst);
        QVERIFY(inadynEnd.listen() && ddclientEnd.listen());
        QStringList quoted;
        for (const QString &host : hosts)
            quoted << u'"' + host + u'"';
        const QString inadynConf = dir.filePath(QStringLiteral("inadyn.conf"));
        // verify-address off: to inadyn the documentation addresses of the run
        // are no Internet addresses.
        QVERIFY(writeFile(inadynConf,
                          QStringLiteral("period = %1\n"
                                         "verify-address = false\n"
                                         "custom bench {\n"
                                         "    ssl = false\n"
                                         "    username = bench\n"
                                         "    password = bench\n"
                                         "    checkip-server = 127.0.0.1:%2\n"
                                         "    checkip-path = /checkip\n"
                                         "    checkip-ssl = false\n"
                                         "    ddns-server = 127.0.0.1:%2\n"
                                         "    ddns-path = \"/nic/update?hostname=%h&myip=%i\"\n"
                                         "    hostname = { %3 }\n"
                                         "}\n")
                              .arg(kEvery)
                              .arg(inadynEnd.port())
                              .arg(quoted.join(QStringLiteral(", ")))
                              .toUtf8()));
        // Its cache as an earlier run left it: without it, inadyn looks each
        // name up in the DNS at start.
        const QString inadynCache = dir.filePath(QStringLiteral("inadyn-cache"));
        QVERIFY(QDir().mkpath(inadynCache));
        for (const QString &host : hosts)
            QVERIFY(
                writeFile(inadynCache + u'/' + host + QStringLiteral(".cache"), kFirst.toLatin1()));
        const QString ddclientConf = dir.filePath(QStringLiteral("ddclient.conf"));
        QVERIFY(writeFile(ddclientConf, QStringLiteral("use=web, web=http://127.0.0.1:%1/checkip\n"
                                                       "protocol=dyndns2\n"
                                                       "server=127.0.0.1:%1\n"
                                                       "ssl=no\n"
                                                       "login=bench\n"
                                                       "password=bench\n"
                                                       "%2\n")
                                            .arg(ddclientEnd.port())
                                            .arg(hosts.join(u','))
                                            .toUtf8()));

        // --- All three at once, checking every minute.
        Program dnsd("veltrio-dnsd", [&] { return int(service.requests().size()); });
        Program inadyn("inadyn", [&] { return inadynEnd.requests(); });
        Program ddclient("ddclient", [&] { return ddclientEnd.requests(); });
        const std::vector<Program *> all{&dnsd, &inadyn, &ddclient};
        const qint64 start = g_clock.elapsed();
        QVERIFY(dnsdRun.start(dnsd.process, {QStringLiteral("--every"), QString::number(kEvery)}));
        for (Program *p : {&inadyn, &ddclient})
            p->process.setProcessChannelMode(QProcess::MergedChannels);
        inadyn.process.start(inadynBin,
                             {QStringLiteral("--foreground"), QStringLiteral("--no-pidfile"),
                              QStringLiteral("--cache-dir"), inadynCache,
                              QStringLiteral("--config"), inadynConf});
        ddclient.process.start(ddclientBin,
                               {QStringLiteral("-foreground"), QStringLiteral("-daemon"),
                                QString::number(kEvery), QStringLiteral("-file"), ddclientConf,
                                QStringLiteral("-cache"),
                                dir.filePath(QStringLiteral("ddclient.cache"))});
        QVERIFY(inadyn.process.waitForStarted() && ddclient.process.waitForStarted());
        const auto output = [&] {
            QString text;
            for (Program *p : all)
                text +=
                    QStringLiteral("--- %1:\n%2")
                        .arg(QLatin1String(p->name), QString::fromLocal8Bit(p->process.readAll()));
            return text;
        };
        // The first checks: veltrio-dnsd's finds its records at the address,
        // inadyn's its cache, ddclient (no cache yet) sends all four.
        QVERIFY2(sample(all, 30000,
                        [&] {
                            return !service.requests()
                                        .filter(QStringLiteral("FXN=GetIPAddress"))
                                        .isEmpty() &&
                                   inadynEnd.requests() >= 1 &&
                                   ddclientEnd.at(hosts, kFirst) == hosts.size();
                        }),
                 qPrintable(output()));

        // --- Two minutes, their checks half-way between the window's ends.
        const qint64 windowStart = start + kEvery * 500;
        QVERIFY(sample(all, static_cast<int>(windowStart - g_clock.elapsed())));
        const int updatesBefore = inadynEnd.updates() + ddclientEnd.updates();
        std::vector<Bench::WakeUps> switchesBefore;
        for (Program *p : all)
            switchesBefore.push_back(Bench::wakeUps(p->pidText()));
        QVERIFY(
            sample(all, static_cast<int>(start + 2 * kEvery * 1000 + 5000 - g_clock.elapsed())));
        struct Memory
        {
            qint64 unique, resident;
        };
        std::vector<Memory> memory;
        for (Program *p : all)
            memory.push_back({Bench::uniqueKiB(p->pidText()), Bench::rssKiB(p->pidText())});
        QVERIFY(sample(all, static_cast<int>(windowStart + 2 * kEvery * 1000 - g_clock.elapsed())));
        std::vector<Bench::WakeUps> switches;
        for (size_t i = 0; i < all.size(); ++i)
            switches.push_back(Bench::wakeUps(all[i]->pidText()) - switchesBefore[i]);
        const qint64 windowEnd = g_clock.elapsed();
        // Nothing was sent in them: every check found the address unchanged.
        QCOMPARE(sentCommands(service.requests(), "RECORD"), 0);
        QCOMPARE(inadynEnd.updates() + ddclientEnd.updates(), updatesBefore);

        // --- The public address changes: each one's next check sets the four.
        QVERIFY(service.setPublicIp(kSecond));
        inadynEnd.setAddress(kSecond);
        ddclientEnd.setAddress(kSecond);
        QVERIFY2(sample(all, (kEvery + 20) * 1000,
                        [&] {
                            const QStringList sent = service.requests();
                            return sentCommands(sent, "RECORDADD") == hostCount &&
                                   inadynEnd.at(hosts, kSecond) == hosts.size() &&
                                   ddclientEnd.at(hosts, kSecond) == hosts.size();
                        }),
                 qPrintable(output()));
        QVERIFY(sample(all, static_cast<int>(kSettle + 1) * kSampleMs));
        QCOMPARE(sentCommands(service.requests(), "RECORDDELETE"), hostCount);
        QCOMPARE(automaticAt(service, user, hostCount, kSecond), hostCount);
        for (Program *p : all)
            QVERIFY2(p->stop(), p->name);

        struct Row
        {
            double perMinute, unchanged, changed;
            int unchangedChecks;
        };
        std::vector<Row> rows;
        for (Program *p : all) {
            const size_t from = sampleAt(*p, windowStart);
            const size_t to = sampleAt(*p, windowEnd);
            const std::vector<Check> inWindow = p->checks(from, to);
            const std::vector<Check> changed = p->checks(to);
            QVERIFY2(inWindow.size() >= 2, p->name);
            // The address query, and the updates.
            QVERIFY2(!changed.empty() && changed.front().requests >= 2, p->name);
            const double minutes =
                static_cast<double>(p->samples[to].ms - p->samples[from].ms) / 60000.0;
            rows.push_back({(p->samples[to].cpuMs - p->samples[from].cpuMs) / minutes,
                            mean(inWindow), changed.front().cpuMs,
                            static_cast<int>(inWindow.size())});
        }
        // --- The table.
        const double inadynMinute = rows[1].perMinute;
        std::printf("\nveltrio-dnsd beside inadyn %s and ddclient %s, one run: each checks every "
                    "%d s for the same %d host names against its own endpoint on 127.0.0.1\n",
                    packageVersion(QStringLiteral("inadyn")).constData(),
                    packageVersion(QStringLiteral("ddclient")).constData(), kEvery, hostCount);
        std::printf("  %-38s %14s %14s %14s\n", "", "veltrio-dnsd", "inadyn", "ddclient");
        const auto line = [&](const char *what, int decimals,
                              const std::function<double(size_t)> &value) {
            std::printf("  %-38s", what);
            for (size_t i = 0; i < all.size(); ++i)
                std::printf(" %14.*f", decimals, value(i));
            std::printf("\n");
        };
        const double records = hostCount;
        line("unique memory after 2 min, KiB", 0, [&](size_t i) { return memory[i].unique; });
        line("resident memory after 2 min, KiB", 0, [&](size_t i) { return memory[i].resident; });
        line("CPU per minute, ms", 3, [&](size_t i) { return rows[i].perMinute; });
        line("CPU per unchanged check, ms", 3, [&](size_t i) { return rows[i].unchanged; });
        line("  (checks in the two minutes)", 0, [&](size_t i) { return rows[i].unchangedChecks; });
        line("CPU per changed record, ms", 3, [&](size_t i) { return rows[i].changed / records; });
        line("context switches per minute", 1, [&](size_t i) {
            return static_cast<double>(switches[i].voluntary + switches[i].nonvoluntary) / 2.0;
        });
        std::printf("  veltrio-dnsd's changed check: %d record commands (a delete and an add "
                    "each), %.3f ms CPU per command\n",
                    2 * hostCount, rows[0].changed / (2.0 * records));
        std::printf("  goals, against inadyn: CPU per minute %.2fx, unique memory %.2fx "
                    "(each <= 1.0x)\n",
                    rows[0].perMinute / inadynMinute,
                    static_cast<double>(memory[0].unique) / static_cast<double>(memory[1].unique));
        std::fflush(stdout);
    }

    // veltrio-dnsd alone, every 5 s: an unchanged check of 10 records beside
    // one of 10,000; then the changed check of 1,000 automatic records in the
    // 10,000.
    void alone_10_beside_10000()
    {
        QTemporaryDir dir;
        DnsdRun dnsdRun(dir.path());
        ServiceProcess small;
        ServiceProcess large;
        const QString smallUser = QStringLiteral("ten");
        const QString largeUser = QStringLiteral("tenk");
        const int smallAuto = static_cast<int>(automaticHosts().size());
        QVERIFY(Bench::writeAccounts(small.accountsFile(), smallUser,
                                     Bench::makeRecords(kSmall, kFirst)));
        QVERIFY(Bench::writeAccounts(large.accountsFile(), largeUser,
                                     Bench::makeRecords(kLarge, kFirst)));
        QVERIFY2(small.start(ServiceProcess::HttpOnly, kFirst), qPrintable(small.errorString()));
        QVERIFY2(large.start(ServiceProcess::HttpOnly, kFirst), qPrintable(large.errorString()));
        Program small10("veltrio-dnsd, 10 records", [&] { return int(small.requests().size()); });
        Program large10k("veltrio-dnsd, 10,000 records",
                         [&] { return int(large.requests().size()); });
        const QStringList every{QStringLiteral("--every"), QString::number(kFastEvery)};
        prepareDnsd(dir, small, smallUser, autoList(smallAuto, kFirst));
        QVERIFY(dnsdRun.start(small10.process, every));
        // Half an interval apart: their checks do not meet.
        QTest::qWait(kFastEvery * 500);
        prepareDnsd(dir, large, largeUser, autoList(kLargeAuto, kFirst));
        QVERIFY(dnsdRun.start(large10k.process, every));
        QVERIFY(sample({&small10, &large10k}, 9 * kFastEvery * 1000));
        QCOMPARE(sentCommands(small.requests(), "RECORD"), 0);
        QCOMPARE(sentCommands(large.requests(), "RECORD"), 0);
        QVERIFY(small10.stop());
        std::vector<Check> smallChecks = small10.checks();
        std::vector<Check> largeChecks = large10k.checks();
        // The first check of each follows its login.
        QVERIFY(smallChecks.size() >= 6 && largeChecks.size() >= 6);
        smallChecks.erase(smallChecks.begin());
        largeChecks.erase(largeChecks.begin());

        // The large account's address changes: 1,000 records replaced, each
        // a delete and an add; veltrio-service stores its 10,000 records
        // after each.
        const size_t beforeChange = large10k.samples.size();
        QVERIFY(large.setPublicIp(kThird));
        QVERIFY2(sample({&large10k}, 480000,
                        [&] { return sentCommands(large.requests(), "RECORDADD") == kLargeAuto; }),
                 qPrintable(QString::fromLocal8Bit(large10k.process.readAll())));
        QVERIFY(sample({&large10k}, static_cast<int>(kSettle + 1) * kSampleMs));
        QCOMPARE(sentCommands(large.requests(), "RECORDDELETE"), kLargeAuto);
        QCOMPARE(automaticAt(large, largeUser, kLargeAuto, kThird), kLargeAuto);
        QVERIFY(large10k.stop());
        const std::vector<Check> largeChanged = large10k.checks(beforeChange);
        QVERIFY(!largeChanged.empty());
        const Check &bulk = largeChanged.front();
        // The address query and the commands (and the check that fell due
        // meanwhile, right after them).
        QVERIFY(bulk.requests >= 2 * kLargeAuto + 1);

        std::printf("veltrio-dnsd alone, every %d s (medians of %zu and %zu checks):\n", kFastEvery,
                    smallChecks.size(), largeChecks.size());
        std::printf("  unchanged check, %d records: %.3f ms CPU; %d records: %.3f ms CPU: %.2fx "
                    "(goal <= 1.2x)\n",
                    kSmall, medianCpu(smallChecks), kLarge, medianCpu(largeChecks),
                    medianCpu(largeChecks) / medianCpu(smallChecks));
        std::printf("  changed check, %d automatic records of %d: %.1f ms CPU over %.1f s, %d "
                    "record commands: %.3f ms CPU per command (goal <= 0.5 ms)\n",
                    kLargeAuto, kLarge, bulk.cpuMs, static_cast<double>(bulk.wallMs) / 1000.0,
                    2 * kLargeAuto, bulk.cpuMs / (2.0 * kLargeAuto));
        std::fflush(stdout);
    }
};

namespace {

// Namespaces of the run's own, taken before any thread starts: a network
// where the loopback interface is all there is, so that no program of the
// run reaches, or asks a name server at, any other address; and processes of
// its own, so that whatever ends the run (a failure, a time-out, a signal)
// ends every program it started with it. Without root, inside a user
// namespace of its own.
bool enterOwnNamespaces()
{
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    constexpr int kinds = CLONE_NEWNET | CLONE_NEWPID | CLONE_NEWNS;
    if (unshare(kinds) == 0)
        return true;
    if (unshare(CLONE_NEWUSER | kinds) != 0)
        return false;
    const auto put = [](const char *file, const QByteArray &text) {
        QFile f(QString::fromLatin1(file));
        return f.open(QIODevice::WriteOnly) && f.write(text) == text.size();
    };
    return put("/proc/self/setgroups", "deny") &&
           put("/proc/self/uid_map", "0 " + QByteArray::number(uid) + " 1") &&
           put("/proc/self/gid_map", "0 " + QByteArray::number(gid) + " 1");
}

// In the first process of the new namespaces: a /proc that shows their
// processes, the runtime folder of the account locks and status files on a
// tmpfs of its own, as the user's runtime folder and the units'
// RuntimeDirectory are, and the loopback interface up.
bool setUpInside()
{
    if (!qEnvironmentVariableIsSet("VELTRIO_RUNTIME_DIR"))
        qputenv("VELTRIO_RUNTIME_DIR", QDir::tempPath().toLocal8Bit() + "/bench_peers-runtime");
    const QByteArray runtime = qgetenv("VELTRIO_RUNTIME_DIR");
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0 ||
        !QDir().mkpath(QString::fromLocal8Bit(runtime)) ||
        mount("tmpfs", runtime.constData(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=0700") != 0)
        return false;
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    ifreq request{};
    std::strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
    bool up = ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    up = up && ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    close(fd);
    return up;
}

} // namespace

int main(int argc, char *argv[])
{
    if (!enterOwnNamespaces()) {
        std::perror("bench_peers: no namespaces of its own (unshare)");
        return 1;
    }
    // The run is the first process of the new process namespace: when it
    // ends, the kernel ends every other process in it.
    const pid_t run = fork();
    if (run < 0) {
        std::perror("bench_peers: fork");
        return 1;
    }
    if (run > 0) {
        int status = 0;
        while (waitpid(run, &status, 0) < 0 && errno == EINTR) {
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    // And it ends with this program (a killed test).
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (!setUpInside()) {
        std::perror("bench_peers: no /proc, runtime folder or loopback interface of its own");
        return 1;
    }
    // The changed check of 1,000 records takes minutes at veltrio-service.
    if (!qEnvironmentVariableIsSet("QTEST_FUNCTION_TIMEOUT"))
        qputenv("QTEST_FUNCTION_TIMEOUT", "900000");
    QCoreApplication app(argc, argv);
    BenchPeers test;
    return QTest::qExec(&test, argc, argv);
}

#include "bench_peers.moc"
