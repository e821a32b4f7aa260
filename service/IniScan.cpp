#include "IniScan.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <cctype>
#include <utility>

namespace IniScan {
namespace {

// Whether the raw text of an INI value, as QSettings unescapes it, starts
// with "@" (one "@" only: "@@" is an "@" kept as text). Quotes, blanks and a
// hexadecimal or octal escape of the "@" are seen through.
bool startsWithAt(QByteArray value)
{
    value = value.trimmed();
    if (value.startsWith('"'))
        value = value.mid(1);
    unsigned first = value.isEmpty() ? 0 : static_cast<unsigned char>(value.at(0));
    qsizetype next = 1;
    if (first == '\\' && value.size() > 1) {
        // A hexadecimal or octal escape of any length: QSettings keeps its
        // last 16 bits, and so does this.
        const bool hex = value.at(1) == 'x' || value.at(1) == 'X';
        const unsigned base = hex ? 16 : 8;
        qsizetype end = hex ? 2 : 1;
        unsigned code = 0;
        bool digits = false;
        for (; end < value.size(); ++end) {
            const char c = value.at(end);
            const int digit = hex ? QByteArray(1, c).toInt(nullptr, 16) : c - '0';
            const bool isDigit =
                hex ? std::isxdigit(static_cast<unsigned char>(c)) != 0 : c >= '0' && c <= '7';
            if (!isDigit)
                break;
            code = (code * base + static_cast<unsigned>(digit)) & 0xFFFF;
            digits = true;
        }
        first = digits ? code : 0;
        next = end;
    }
    return first == '@' && !value.mid(next).startsWith('@');
}

// Whether any element of an INI value starts with "@": QSettings reads an
// unquoted comma as a list of elements and rebuilds each on its own.
bool anyElementStartsWithAt(const QByteArray &value)
{
    bool quoted = false;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (i == 0 || (!quoted && value.at(i - 1) == ',')) {
            if (startsWithAt(value.mid(i)))
                return true;
        }
        if (value.at(i) == '\\')
            ++i; // an escaped character, a quote among them
        else if (value.at(i) == '"')
            quoted = !quoted;
    }
    return false;
}

} // namespace

FileStamp StampOf(const QString &file)
{
    const QFileInfo info(file);
    return info.exists() ? FileStamp{info.size(), info.lastModified()} : FileStamp{};
}

// Whether an INI file holds a value QSettings would rebuild as an object
// ("@Variant(...)", "@ByteArray(...)" and the like): this program never
// writes one (a text that starts with "@" is stored as "@@"), and rebuilding
// a crafted one can ask for gigabytes. Such a file is not ours to read. Each
// file is looked through once per version of it.
bool HoldsSerializedObjects(const QString &file)
{
    static QHash<QString, std::pair<FileStamp, bool>> checked;
    const FileStamp stamp = StampOf(file);
    const auto known = checked.constFind(file);
    if (known != checked.cend() && known->first == stamp)
        return known->second;
    bool found = false;
    QFile ini(file);
    if (ini.open(QIODevice::ReadOnly)) {
        while (!found && !ini.atEnd()) {
            QByteArray line = ini.readLine();
            // A line that ends in a backslash goes on in the next one.
            while (line.trimmed().endsWith('\\') && !ini.atEnd()) {
                line = line.trimmed();
                line.chop(1);
                line += ini.readLine().trimmed();
            }
            const qsizetype equals = line.indexOf('=');
            found = equals > 0 && anyElementStartsWithAt(line.mid(equals + 1));
        }
    }
    checked.insert(file, {stamp, found});
    return found;
}

} // namespace IniScan
