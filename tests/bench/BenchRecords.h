#pragma once

// What the benchmarks share: the record lists they fill the grid with (and
// an account of veltrio-service that holds them), CPU clocks, and medians.
#include <QByteArray>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <ctime>
#include <vector>

namespace Bench {

struct Records
{
    QString list;     // the service's record list
    QString autoList; // every third record, as the auto-IP list holds it
    QList<QStringList> rows;
    QStringList domains; // the zones the records are in
};

// Record i of the benchmarks' lists: over 97 zones, as A, CNAME and MX in
// turn; every third (the A records) is automatic. With autoAddress, the
// automatic records point at it: a check that finds that address has
// nothing to send.
inline QStringList record(int i, const QString &autoAddress = QString())
{
    static const QString types[] = {QStringLiteral("A"), QStringLiteral("CNAME"),
                                    QStringLiteral("MX")};
    return {QStringLiteral("zone%1.example").arg(i % 97), types[i % 3],
            QStringLiteral("host%1").arg(i),
            i % 3 == 0 && !autoAddress.isEmpty()
                ? autoAddress
                : QStringLiteral("10.%1.%2.%3").arg(i / 65536).arg(i / 256 % 256).arg(i % 256)};
}
inline bool isAutomatic(int i)
{
    return i % 3 == 0;
}

// The record list of count records alone, built without keeping anything else.
inline QString recordList(int count, const QString &autoAddress = QString())
{
    QString list;
    for (int i = 0; i < count; ++i) {
        if (i > 0)
            list += QStringLiteral("~~");
        list += record(i, autoAddress).join(QStringLiteral(";;"));
    }
    list.squeeze();
    return list;
}

inline Records makeRecords(int count, const QString &autoAddress = QString())
{
    Records r;
    for (int i = 0; i < count; ++i) {
        QStringList row = record(i, autoAddress);
        if (isAutomatic(i))
            r.autoList += (row.join(QStringLiteral(";;")) + QStringLiteral("~~")).toUpper();
        row << (isAutomatic(i) ? QStringLiteral("Yes") : QStringLiteral("No"));
        r.rows << row;
    }
    for (int z = 0; z < std::min(count, 97); ++z)
        r.domains << QStringLiteral("zone%1.example").arg(z);
    r.list = recordList(count, autoAddress);
    return r;
}

// An accounts file for veltrio-service with one account (own domains, user
// level 1) holding the records; password and user name are the same.
inline bool writeAccounts(const QString &file, const QString &user, const Records &records)
{
    QJsonArray list;
    for (const QStringList &row : records.rows)
        list.append(QJsonObject{{QStringLiteral("domain"), row[0]},
                                {QStringLiteral("type"), row[1]},
                                {QStringLiteral("name"), row[2]},
                                {QStringLiteral("address"), row[3]}});
    const QJsonObject account{
        {QStringLiteral("user"), user},
        {QStringLiteral("password"), user},
        {QStringLiteral("firstName"), QStringLiteral("Bea")},
        {QStringLiteral("lastName"), QStringLiteral("Bench")},
        {QStringLiteral("domains"), QJsonArray::fromStringList(records.domains)},
        {QStringLiteral("subDomain"), QString()},
        {QStringLiteral("recordTypes"),
         QJsonArray{QStringLiteral("A"), QStringLiteral("CNAME"), QStringLiteral("MX")}},
        {QStringLiteral("userLevel"), QStringLiteral("1")},
        {QStringLiteral("expirationDate"), QStringLiteral("12/31/2030")},
        {QStringLiteral("records"), list}};
    QFile out(file);
    return out.open(QIODevice::WriteOnly) &&
           out.write(QJsonDocument(QJsonObject{{QStringLiteral("accounts"), QJsonArray{account}}})
                         .toJson(QJsonDocument::Compact)) > 0;
}

// CPU time used so far, in milliseconds: by the whole process, or by the
// calling thread alone.
inline double processCpuMs()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}
inline double threadCpuMs()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

template <typename T> T median(std::vector<T> values)
{
    if (values.empty())
        return T();
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace Bench
