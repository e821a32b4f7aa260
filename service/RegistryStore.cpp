#include "RegistryStore.h"

#include "IniScan.h"
#include "RuntimeError.h"
#include "TextRules.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSettings>
#include <QStandardPaths>
#include <cctype>
#include <cmath>
#include <limits>
#include <optional>

// Layout: every key below "SOFTWARE\Veltrio\" is one QSettings group, named
// by the rest of the key path ("Init", or a user name). QSettings takes "/"
// and "\" in a group or value name as a level separator, so those two and the
// escape character itself are percent-encoded first: a user called "a/b"
// gets a section of its own and can never reach "[a]" or "[b]".
//
// A file that QSettings cannot parse is treated as holding nothing. It stays
// untouched until the program writes a value on purpose; that write first
// moves the broken file aside (to "<file>.broken") and starts a fresh one.

namespace {

const QString kVendorKey = QStringLiteral("SOFTWARE\\Veltrio");

QString &fileOverride()
{
    static QString file;
    return file;
}

// QSettings parses a file once per process and reports a format error only
// to the instance that parsed it; later instances reuse the parsed keys. The
// files found broken are remembered with their size and time, so that every
// store on them sees the same (empty) content until the file changes.
using IniScan::FileStamp;

QHash<QString, FileStamp> &brokenFiles()
{
    static QHash<QString, FileStamp> files;
    return files;
}

QString encodeName(const QString &name)
{
    QString out;
    out.reserve(name.size());
    for (const QChar c : name) {
        if (c == QLatin1Char('%'))
            out += QStringLiteral("%25");
        else if (c == QLatin1Char('/'))
            out += QStringLiteral("%2F");
        else if (c == QLatin1Char('\\'))
            out += QStringLiteral("%5C");
        else
            out += c;
    }
    return out;
}

QString decodeName(const QString &name)
{
    QString out;
    out.reserve(name.size());
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QStringView code = QStringView(name).mid(i, 3);
        if (code.compare(QLatin1String("%25"), Qt::CaseInsensitive) == 0) {
            out += QLatin1Char('%');
            i += 2;
        } else if (code.compare(QLatin1String("%2F"), Qt::CaseInsensitive) == 0) {
            out += QLatin1Char('/');
            i += 2;
        } else if (code.compare(QLatin1String("%5C"), Qt::CaseInsensitive) == 0) {
            out += QLatin1Char('\\');
            i += 2;
        } else {
            out += name.at(i);
        }
    }
    return out;
}

// The value as the text the program reads: strings as they are, whole
// numbers in decimal. Anything else (a list, binary data, a serialised
// variant) is not a value the program wrote and reads as empty.
QString asText(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
        return value.toString();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return value.toString();
    default:
        return QString();
    }
}

// The data of a number value: a 32-bit integer. Text must be numeric (13,
// type mismatch) and whole numbers must fit (6, overflow); fractions round
// to the nearest even whole number, as the platform's conversion does.
qint32 toNumber(const QVariant &data)
{
    double number = 0.0;
    switch (data.typeId()) {
    case QMetaType::Bool:
        return data.toBool() ? 1 : 0;
    case QMetaType::Int:
        return data.toInt();
    case QMetaType::QString:
        number = TextRules::ToDouble(data.toString());
        break;
    default: {
        bool ok = false;
        number = data.toDouble(&ok);
        if (!ok)
            throw RuntimeError::Of(ErrorNumber::TypeMismatch);
    }
    }
    number = std::nearbyint(number);
    if (!std::isfinite(number) || number < std::numeric_limits<qint32>::min() ||
        number > std::numeric_limits<qint32>::max())
        throw RuntimeError::Of(ErrorNumber::Overflow);
    return static_cast<qint32>(number);
}

} // namespace

struct RegistryStore::Private
{
    std::unique_ptr<QSettings> settings;
    QString iniFile;     // empty for the Windows registry
    bool inside = false; // the selected key lies below "SOFTWARE\Veltrio"
    QString group;       // encoded group name; empty for the vendor key itself
    // What the selected key holds, read once: the store is read value by
    // value, and each look-up of a group or a name must not scan it again.
    struct Group
    {
        QString name; // as the file spells it, or encoded when it is not there
        bool exists = false;
    };
    mutable std::optional<Group> cachedGroup;
    mutable std::optional<QStringList> cachedKeys;

    void forget()
    {
        cachedGroup.reset();
        cachedKeys.reset();
    }

    void open()
    {
        iniFile = RegistryStore::File();
#ifdef Q_OS_WIN
        if (iniFile.isEmpty()) {
            settings = std::make_unique<QSettings>(
                QStringLiteral("HKEY_CURRENT_USER\\SOFTWARE\\Veltrio"), QSettings::NativeFormat);
            return;
        }
#endif
        settings = std::make_unique<QSettings>(iniFile, QSettings::IniFormat);
    }

    bool broken() const
    {
        if (iniFile.isEmpty())
            return false;
        if (settings->status() == QSettings::FormatError ||
            IniScan::HoldsSerializedObjects(iniFile)) {
            brokenFiles().insert(iniFile, IniScan::StampOf(iniFile));
            return true;
        }
        const auto known = brokenFiles().constFind(iniFile);
        return known != brokenFiles().cend() && *known == IniScan::StampOf(iniFile);
    }

    // The existing group the selected key names (letter case ignored, as
    // the registry does), or the encoded name when it does not exist yet:
    // one pass over the file's groups.
    const Group &selectedGroup() const
    {
        if (!cachedGroup) {
            cachedGroup = Group{group, false};
            const QStringList groups = settings->childGroups();
            for (const QString &g : groups) {
                if (g.compare(group, Qt::CaseInsensitive) == 0) {
                    cachedGroup = Group{g, true};
                    break;
                }
            }
        }
        return *cachedGroup;
    }

    QString actualGroup() const
    {
        return group.isEmpty() ? group : selectedGroup().name;
    }

    bool keyExists() const
    {
        if (!inside || broken())
            return false;
        if (group.isEmpty())
            return true;
        return selectedGroup().exists;
    }

    // The value names of the selected key, in the store's stable order.
    const QStringList &keys() const
    {
        if (!cachedKeys) {
            cachedKeys.emplace();
            if (keyExists()) {
                settings->beginGroup(actualGroup());
                *cachedKeys = settings->childKeys();
                settings->endGroup();
            }
        }
        return *cachedKeys;
    }

    QString actualKey(const QString &name) const
    {
        const QString encoded = encodeName(name);
        const QStringList &names = keys();
        for (const QString &k : names) {
            if (k.compare(encoded, Qt::CaseInsensitive) == 0)
                return k;
        }
        return QString();
    }

    QString read(const QString &storedKey) const
    {
        settings->beginGroup(actualGroup());
        const QVariant value = settings->value(storedKey);
        settings->endGroup();
        return asText(value);
    }

    // A broken file is moved aside before the first write on purpose, so
    // that what it held is never lost.
    void replaceBrokenFile()
    {
        forget();
        settings.reset();
        const QString aside = iniFile + QStringLiteral(".broken");
        QFile::remove(aside);
        const bool moved = QFile::rename(iniFile, aside);
        if (moved)
            brokenFiles().remove(iniFile);
        open();
        if (!moved)
            throw RuntimeError::Of(ErrorNumber::PermissionDenied);
    }

    // On POSIX the settings file can hold a password: it is created readable
    // by its owner only. QSettings later replaces it keeping those rights.
    void createFileIfMissing()
    {
        if (iniFile.isEmpty() || QFileInfo::exists(iniFile))
            return;
        const QString folder = QFileInfo(iniFile).absolutePath();
        if (!QDir().mkpath(folder))
            throw RuntimeError::Of(ErrorNumber::PathFileAccess);
        QFile file(iniFile);
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly,
                       QFileDevice::ReadOwner | QFileDevice::WriteOwner))
            throw RuntimeError::Of(file.error() == QFileDevice::PermissionsError
                                       ? ErrorNumber::PermissionDenied
                                       : ErrorNumber::PathFileAccess);
        file.close();
        // Let QSettings see the new, empty file.
        settings->sync();
    }
};

RegistryStore::RegistryStore() : d(std::make_unique<Private>())
{
    d->open();
}

RegistryStore::~RegistryStore() = default;

void RegistryStore::SetKey(const QString &keyPath)
{
    d->forget();
    QString path = keyPath;
    if (path.compare(kVendorKey, Qt::CaseInsensitive) == 0) {
        d->inside = true;
        d->group.clear();
        return;
    }
    const QString prefix = kVendorKey + QLatin1Char('\\');
    d->inside = path.startsWith(prefix, Qt::CaseInsensitive);
    d->group = d->inside ? encodeName(path.mid(prefix.size())) : QString();
}

QString RegistryStore::ReadValue(const QString &name) const
{
    const QString key = d->actualKey(name);
    return key.isEmpty() ? QString() : d->read(key);
}

int RegistryStore::ValueCount() const
{
    return static_cast<int>(d->keys().size());
}

QString RegistryStore::ValueName(int index) const
{
    const QStringList &names = d->keys();
    if (index < 1 || index > names.size())
        return QString();
    return decodeName(names.at(index - 1));
}

QString RegistryStore::ReadValue(int index) const
{
    const QStringList &names = d->keys();
    if (index < 1 || index > names.size())
        return QString();
    return d->read(names.at(index - 1));
}

void RegistryStore::WriteValue(const QString &name, const QVariant &data, ValueType type)
{
    WriteValues({{name, data, type}});
}

void RegistryStore::WriteValues(const QList<Value> &values)
{
    if (!d->inside)
        throw RuntimeError::Of(ErrorNumber::InvalidArgument);
    for (const Value &value : values) {
        if (value.name.isEmpty())
            throw RuntimeError::Of(ErrorNumber::InvalidArgument);
    }
    if (values.isEmpty())
        return;

    if (!d->iniFile.isEmpty()) {
        if (d->broken())
            d->replaceBrokenFile();
        d->createFileIfMissing();
    }

    for (const Value &value : values) {
        const QVariant stored =
            value.type == Number ? QVariant(toNumber(value.data)) : QVariant(value.data.toString());
        const QString existing = d->actualKey(value.name);
        d->settings->beginGroup(d->actualGroup());
        // "AutoIps" replaces "AutoIPs": one value, whatever the letter case.
        if (!existing.isEmpty())
            d->settings->remove(existing);
        d->settings->setValue(encodeName(value.name), stored);
        d->settings->endGroup();
        d->forget();
    }
    // One sync: the file is replaced whole, once, with every value in it.
    d->settings->sync();
    if (d->settings->status() != QSettings::NoError)
        throw RuntimeError::Of(ErrorNumber::PermissionDenied);
    // The file may hold the password: whoever made it, it stays its owner's.
    if (!d->iniFile.isEmpty())
        QFile::setPermissions(d->iniFile, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

void RegistryStore::SetFile(const QString &iniFile)
{
    fileOverride() = iniFile.isEmpty() ? QString() : QFileInfo(iniFile).absoluteFilePath();
}

QString RegistryStore::File()
{
    if (!fileOverride().isEmpty())
        return fileOverride();
#ifdef Q_OS_WIN
    return QString();
#else
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation))
        .filePath(QStringLiteral("veltrio-settings.ini"));
#endif
}
