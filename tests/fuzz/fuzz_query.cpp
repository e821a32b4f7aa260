// The local service's script on the demo accounts. Input: one raw query text
// per line, answered in turn on a fresh copy of the accounts, so that a
// command can act on the records an earlier one left.
#include "AccountBook.h"
#include "DnsScript.h"
#include "QueryText.h"
#include "RecordList.h"
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

// The client reads the record list of every successful reply; the service
// must never send one the client takes for broken.
void checkRecordList(const QString &reply)
{
    if (!basDNS::IsSuccess(reply))
        return;
    try {
        for (const QString &piece :
             RecordList::Split(basDNS::GetReplyValue(reply, QStringLiteral("DomainUserRecords:"))))
            RecordList::Fields(piece);
    } catch (const std::exception &e) {
        std::fprintf(stderr, "the client cannot read the records of this reply (%s):\n%s\n",
                     e.what(), qPrintable(reply));
        std::abort();
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
        query.value(QStringLiteral("FXN"));
        query.contains(QStringLiteral("Usr"));
        checkRecordList(script.answer(rawQuery, QStringLiteral("::ffff:203.0.113.9")));
    }
    return 0;
}
