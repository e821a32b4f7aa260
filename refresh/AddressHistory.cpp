#include "AddressHistory.h"

#include "RegistryStore.h"
#include "RuntimeError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>
#include <QThread>
#include <QUrl>
#include <optional>

namespace {

// Far more than Kept entries ever take: a file beyond it is read this far.
constexpr qint64 kLargest = 16LL * 1024 * 1024;

QString shown(QString text)
{
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control)
            c = u'?';
    }
    return text;
}

QByteArray lineOf(const HistoryEntry &entry)
{
    QJsonObject object{{QStringLiteral("time"), entry.time},
                       {QStringLiteral("old"), entry.oldAddress},
                       {QStringLiteral("new"), entry.newAddress},
                       {QStringLiteral("records"), QJsonArray::fromStringList(entry.records)}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<HistoryEntry> entryOf(const QByteArray &line)
{
    const QJsonDocument document = QJsonDocument::fromJson(line);
    const QJsonObject object = document.object();
    const QJsonValue time = object.value(QLatin1String("time"));
    const QJsonValue now = object.value(QLatin1String("new"));
    if (!time.isString() || !now.isString())
        return std::nullopt;
    HistoryEntry entry{
        time.toString(), object.value(QLatin1String("old")).toString(), now.toString(), {}};
    for (const QJsonValue record : object.value(QLatin1String("records")).toArray()) {
        if (record.isString())
            entry.records.append(record.toString());
    }
    return entry;
}

// For the tests: half-way through its write the writer creates the file
// $VELTRIO_HISTORY_WRITE_HOLD names and waits, at most 60 s, until it is gone,
// so that a kill lands in the middle of the write.
void holdForTests()
{
    const QString hold = qEnvironmentVariable("VELTRIO_HISTORY_WRITE_HOLD");
    if (hold.isEmpty() || !QFile(hold).open(QIODevice::WriteOnly))
        return;
    for (int i = 0; i < 600 && QFile::exists(hold); ++i)
        QThread::msleep(100);
}

} // namespace

QString HistoryEntry::Text() const
{
    const QString from = oldAddress.isEmpty() ? QStringLiteral("(none)") : oldAddress;
    const QString what =
        records.isEmpty() ? QStringLiteral("nothing replaced") : records.join(QLatin1String(", "));
    return shown(time + QLatin1Char(' ') + from + QStringLiteral(" -> ") + newAddress +
                 QStringLiteral(": ") + what);
}

namespace AddressHistory {

QString FileOf(const QString &account)
{
    const QString settings = RegistryStore::File();
    const QString folder =
        settings.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)
                           : QFileInfo(settings).absolutePath();
    const QString base = settings.isEmpty() ? QStringLiteral("veltrio-settings")
                                            : QFileInfo(settings).completeBaseName();
    // Names match without regard to case; a character a file name cannot
    // hold is escaped.
    const QString name = QString::fromLatin1(
        QUrl::toPercentEncoding(account.toLower(), QByteArray(), QByteArrayLiteral("~")));
    return QDir(folder).filePath(base + QLatin1Char('.') + name + QStringLiteral(".history"));
}

QList<HistoryEntry> Read(const QString &account)
{
    QList<HistoryEntry> entries;
    QFile file(FileOf(account));
    if (!file.open(QIODevice::ReadOnly))
        return entries;
    for (const QByteArray &line : file.read(kLargest).split('\n')) {
        if (const std::optional<HistoryEntry> entry = entryOf(line))
            entries.append(*entry);
    }
    return entries;
}

void Add(const QString &account, const HistoryEntry &entry)
{
    QList<HistoryEntry> entries = Read(account);
    entries.append(entry);
    if (entries.size() > Kept)
        entries.remove(0, entries.size() - Kept);

    const QString path = FileOf(account);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    const auto failed = [&file, &path] {
        throw RuntimeError(file.error() == QFileDevice::PermissionsError
                               ? ErrorNumber::PermissionDenied
                               : ErrorNumber::PathFileAccess,
                           file.errorString() + QStringLiteral(" (") + path + QLatin1Char(')'));
    };
    if (!file.open(QIODevice::WriteOnly))
        failed();
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (i == entries.size() / 2) {
            file.flush();
            holdForTests();
        }
        file.write(lineOf(entries[i]));
    }
    if (!file.commit())
        failed();
}

} // namespace AddressHistory
