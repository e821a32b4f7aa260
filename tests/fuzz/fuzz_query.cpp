// The local service's script on the demo accounts. Input: one raw query text
// per line, answered in turn on a fresh copy of the accounts, so that a
// command can act on the records an earlier one left.
#include "AccountBook.h"
#include "DnsScript.h"
#include "QueryText.h"
#include "RecordList.h"
#include "TextRules.h"
#include "basDNS.h"

#include <QFile>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>

#ifndef VELTRIO_SOURCE_DIR
#error "VELTRIO_SOURCE_DIR must name the source tree"
#endif

namespace {

const AccountBook &demoAccounts()
{
    static QTemporaryDir folder;
    static AccountBook book;
    static const bool loaded = [] {
        const QString accounts = folder.filePath(QStringLiteral("accounts.json"));
        QString error;
        if (!QFile::copy(QStringLiteral(VELTRIO_SOURCE_DIR "/demo/accounts.json"), accounts) ||
            !book.load(accounts, folder.filePath(QStringLiteral("accounts.state.json")), &error)) {
            std::fprintf(stderr, "cannot load the demo accounts: %s\n", qPrintable(error));
            std::abort();
        }
        return true;
    }();
    (void)loaded;
    return book;
}

// The labels the client reads from the reply to each function: the values of
// a success, the reason of a failure.
QStringList labelsRead(const QString &function, const QString &reply)
{
    const bool success = basDNS::IsSuccess(reply);
    if (function.compare(QLatin1String("login"), Qt::CaseInsensitive) == 0) {
        if (!success)
            return {QStringLiteral("DNS LOGIN:")};
        return {QStringLiteral("DNS LOGIN:"),         QStringLiteral("FirstName:"),
                QStringLiteral("LastName:"),          QStringLiteral("Domains:"),
                QStringLiteral("SubDomain:"),         QStringLiteral("RecordTypes:"),
                QStringLiteral("ExpirationDate:"),    QStringLiteral("IPAddress:"),
                QStringLiteral("DomainUserRecords:"), QStringLiteral("UserLevel:")};
    }
    if (!success)
        return {QStringLiteral("Error:")};
    if (function.compare(QLatin1String("GetIPAddress"), Qt::CaseInsensitive) == 0)
        return {QStringLiteral("IPAddress:"), QStringLiteral("DomainUserRecords:")};
    return {QStringLiteral("DomainUserRecords:")};
}

[[noreturn]] void misread(const char *what, const QString &label, const QString &reply)
{
    std::fprintf(stderr, "the client misreads \"%s\" (%s) in this reply:\n%s\n", qPrintable(label),
                 what, qPrintable(reply));
    std::abort();
}

// The client takes the first occurrence of a label anywhere in the reply;
// the service means the paragraph that starts with it. Every label the
// client reads must give what the service wrote, and the record list of a
// successful reply must be one the client can take apart.
void checkReply(const QString &function, const QString &reply)
{
    const QStringList paragraphs = reply.split(QStringLiteral("</p>"));
    for (const QString &label : labelsRead(function, reply)) {
        QString written;
        for (const QString &paragraph : paragraphs) {
            if (paragraph.startsWith(label)) {
                written = TextRules::Trim(paragraph.mid(label.size()));
                break;
            }
        }
        QString read;
        try {
            read = basDNS::GetReplyValue(reply, label);
        } catch (const std::exception &e) {
            misread(e.what(), label, reply);
        }
        if (read != written)
            misread("another value", label, reply);
        if (label == QLatin1String("DomainUserRecords:")) {
            try {
                for (const QString &piece : RecordList::Split(read))
                    RecordList::Fields(piece);
            } catch (const std::exception &e) {
                misread(e.what(), label, reply);
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    AccountBook book = demoAccounts();
    DnsScript script(book, [] { return QDate(2025, 6, 1); });
    const QString input =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (const QString &rawQuery : input.split(u'\n')) {
        const QueryText query(rawQuery);
        query.contains(QStringLiteral("Usr"));
        checkReply(query.value(QStringLiteral("FXN")).value_or(QString()).trimmed(),
                   script.answer(rawQuery, QStringLiteral("::ffff:203.0.113.9")));
    }
    return 0;
}
