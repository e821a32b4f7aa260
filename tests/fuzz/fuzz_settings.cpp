// The settings file as the store reads it: the login section, the section of
// the user it names and the vendor key itself, value by value and by name.
// Input: the whole INI file.
#include "RegistryStore.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

// Qt's warnings about what it cannot read in the file are expected; only a
// fatal message, which aborts, is a finding.
void quiet(QtMsgType, const QMessageLogContext &, const QString &) {}

void readKey(RegistryStore &store, const QString &key)
{
    store.SetKey(key);
    const int count = store.ValueCount();
    for (int i = 0; i <= count + 1; ++i) {
        store.ReadValue(store.ValueName(i));
        store.ReadValue(i);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QtMessageHandler previous = qInstallMessageHandler(quiet);
    (void)previous;
    static QTemporaryDir folder;
    static const QString file = folder.filePath(QStringLiteral("settings.ini"));
    // The settings are parsed again only when the file's size or time has
    // changed: every input gets a time of its own.
    static qint64 run = 0;
    static const QDateTime start = QDateTime::currentDateTimeUtc();

    QFile out(file);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        out.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size)) !=
            static_cast<qint64>(size) ||
        !out.setFileTime(start.addSecs(++run), QFileDevice::FileModificationTime))
        std::abort();
    out.close();

    RegistryStore::SetFile(file);
    RegistryStore store;
    const QString init = QStringLiteral("SOFTWARE\\Veltrio\\Init");
    readKey(store, init);
    readKey(store,
            QStringLiteral("SOFTWARE\\Veltrio\\") + store.ReadValue(QStringLiteral("Username")));
    readKey(store, QStringLiteral("SOFTWARE\\Veltrio"));
    return 0;
}
