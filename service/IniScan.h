#pragma once

#include <QDateTime>
#include <QString>

// Why this exists: QSettings' INI format rebuilds a value written as
// "@Variant(...)" or "@ByteArray(...)" into an object when it reads the file,
// and a crafted one can make it allocate gigabytes before the program sees a
// thing. The program never writes such a value (a text that starts with "@"
// is stored as "@@"), so a settings file that holds one is not ours: the
// store treats it as broken and reads nothing from it. Looking for one means
// reading the raw lines as QSettings would: its quoting, its escapes (a
// hexadecimal or octal escape of the "@" included), its lists split at
// unquoted commas and its lines continued by a backslash. That is all this
// file does; nothing else in the program parses INI text.
namespace IniScan {

// A file's size and modification time: a changed file is looked at again.
struct FileStamp
{
    qint64 size = -1;
    QDateTime modified;
    bool operator==(const FileStamp &) const = default;
};
FileStamp StampOf(const QString &file);

// Whether the INI file holds a value QSettings would rebuild as an object.
// Each version of a file is looked through once.
bool HoldsSerializedObjects(const QString &file);

} // namespace IniScan
