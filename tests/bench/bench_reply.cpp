// What reading one value out of a login reply costs when the reply carries a
// 100,000-record list (last, as the service sends it): basDNS::GetReplyValue
// for every value the login reads, for a label placed after the list and for
// an absent one, beside
//   - "indexOf": the plain QString::indexOf of the label, then of "</p" from
//     there, over the same reply, nothing copied;
//   - "indexOf+copy": the same with the value copied out, as a reader that
//     returns the value must;
//   - "copying": a reader that copies the whole rest of the reply after the
//     label before it looks for the end tag.
// Every value read is checked; a wrong one fails the run.
#include "RuntimeError.h"
#include "TextRules.h"
#include "basDNS.h"

#include <QElapsedTimer>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int kRecords = 100000;
const QString EndTag = QStringLiteral("</p");

struct Labelled
{
    QString label;
    QString value;
    qsizetype end = -1; // where its end tag stands in the reply
};

QString recordList(int count)
{
    QStringList pieces;
    pieces.reserve(count);
    const QString types[] = {QStringLiteral("A"), QStringLiteral("CNAME"), QStringLiteral("MX")};
    for (int i = 0; i < count; ++i)
        pieces << QStringLiteral("zone%1.example;;%2;;host%3;;10.%4.%5.%6")
                      .arg(i % 97)
                      .arg(types[i % 3])
                      .arg(i)
                      .arg(i / 65536)
                      .arg(i / 256 % 256)
                      .arg(i % 256);
    return pieces.join(QStringLiteral("~~"));
}

// Both searches, nothing copied. The end tag's position.
qsizetype findOnly(const QString &reply, const QString &label)
{
    const qsizetype at = reply.indexOf(label);
    if (at < 0)
        return -1;
    return reply.indexOf(EndTag, at + label.size());
}

// Both searches, the value copied out.
QString findAndCopy(const QString &reply, const QString &label)
{
    const qsizetype at = reply.indexOf(label);
    if (at < 0)
        return QString();
    const qsizetype begin = at + label.size();
    const qsizetype end = reply.indexOf(EndTag, begin);
    if (end < 0)
        throw RuntimeError::Of(ErrorNumber::InvalidArgument);
    return TextRules::Trim(reply.sliced(begin, end - begin));
}

// Copies everything after the label, then looks for the end tag in the copy.
QString copyingReader(const QString &reply, const QString &label)
{
    const qsizetype at = reply.indexOf(label);
    if (at < 0)
        return QString();
    const QString rest = reply.mid(at + label.size());
    const qsizetype end = rest.indexOf(EndTag);
    if (end < 0)
        throw RuntimeError::Of(ErrorNumber::InvalidArgument);
    return TextRules::Trim(rest.left(end));
}

// The median time of one call in milliseconds; every result must pass check,
// which runs (and the result is freed) outside the timing.
template <typename Read, typename Check>
double medianMs(int runs, const Read &read, const Check &check, bool *ok)
{
    std::vector<double> times;
    times.reserve(runs);
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        const auto result = read();
        const qint64 ns = timer.nsecsElapsed();
        if (!check(result))
            *ok = false;
        times.push_back(double(ns) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

} // namespace

class BenchReply : public QObject
{
    Q_OBJECT

private slots:
    void readLoginValues()
    {
        const QString list = recordList(kRecords);
        // The login reply as the service builds it, the record list last,
        // then one more label after the list.
        const QList<Labelled> login = {
            {QStringLiteral("DNS LOGIN:"), QStringLiteral("SUCCESS")},
            {QStringLiteral("FirstName:"), QStringLiteral("Ada")},
            {QStringLiteral("LastName:"), QStringLiteral("Lovelace")},
            {QStringLiteral("Domains:"), QStringLiteral("zone0.example,zone1.example")},
            {QStringLiteral("SubDomain:"), QStringLiteral("dyn.example")},
            {QStringLiteral("RecordTypes:"), QStringLiteral("A,CNAME,MX")},
            {QStringLiteral("ExpirationDate:"), QStringLiteral("12/31/2030")},
            {QStringLiteral("IPAddress:"), QStringLiteral("203.0.113.7")},
            {QStringLiteral("UserLevel:"), QStringLiteral("5")},
            {QStringLiteral("DomainUserRecords:"), list},
        };
        QList<Labelled> rows = login;
        rows << Labelled{QStringLiteral("Notice:"), QStringLiteral("after the list")};
        QString reply;
        for (Labelled &row : rows) {
            // The value after the list comes with blanks to trim.
            const bool last = &row == &rows.last();
            reply += row.label + (last ? QStringLiteral(" ") : QString()) + row.value +
                     (last ? QStringLiteral(" ") : QString());
            row.end = reply.size();
            reply += QStringLiteral("</p>");
        }
        const QString afterLabel = rows.last().label;
        rows << Labelled{QStringLiteral("Error:"), QString()}; // absent

        std::printf("\nreply: %d records, %lld characters (%.1f MB as UTF-16)\n", kRecords,
                    static_cast<long long>(reply.size()), double(reply.size()) * 2 / 1e6);
        std::printf("median microseconds of one value: GetReplyValue; indexOf: QString::indexOf "
                    "of the label and of \"</p\" after it; +copy: and the value copied out; "
                    "copying: the rest of the reply copied first\n");
        std::printf("%-20s %10s %14s %10s %12s %10s\n", "label", "chars", "GetReplyValue",
                    "indexOf", "indexOf+copy", "copying");

        std::vector<double> beforeList;
        double listMs = 0;
        for (const Labelled &row : rows) {
            // The short values before the list; the list itself, the label
            // after it and the absent one each take a search through the list.
            const bool small = row.value.size() < 1000 && row.end >= 0 && row.label != afterLabel;
            const int runs = small ? 201 : 15;
            bool ok = true;
            const auto isValue = [&row](const QString &value) {
                return value == row.value && value.isNull() == row.value.isNull();
            };
            const double project = medianMs(
                runs, [&] { return basDNS::GetReplyValue(reply, row.label); }, isValue, &ok);
            QVERIFY2(ok, qPrintable(QStringLiteral("GetReplyValue read a wrong value for ") +
                                    row.label));
            const double found = medianMs(
                runs, [&] { return findOnly(reply, row.label); },
                [&](qsizetype end) { return end == row.end; }, &ok);
            const double copied = medianMs(
                runs, [&] { return findAndCopy(reply, row.label); }, isValue, &ok);
            const double copying = medianMs(
                small ? 15 : 7, [&] { return copyingReader(reply, row.label); }, isValue, &ok);
            QVERIFY2(ok,
                     qPrintable(QStringLiteral("a baseline read a wrong value for ") + row.label));
            std::printf("%-20s %10lld %14.1f %10.1f %12.1f %10.1f\n", qPrintable(row.label),
                        static_cast<long long>(row.value.size()), project * 1000, found * 1000,
                        copied * 1000, copying * 1000);
            if (small)
                beforeList.push_back(project);
            if (row.label == QLatin1String("DomainUserRecords:"))
                listMs = project;
        }
        std::printf("GetReplyValue, median of the %zu values before the list: %.4f ms; the "
                    "list: %.4f ms\n",
                    beforeList.size(), median(beforeList), listMs);
        std::fflush(stdout);
    }
};

QTEST_GUILESS_MAIN(BenchReply)
#include "bench_reply.moc"
