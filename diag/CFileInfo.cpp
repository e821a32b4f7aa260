#include "CFileInfo.h"

#include <QLocale>

void CFileInfo::SetFullPath(const QString &fullPath)
{
    m_info.setFile(fullPath);
    m_info.setCaching(false);
}

QString CFileInfo::FormatDate(const QDateTime &when)
{
    const QLocale locale;
    return locale.toString(when.date(), QLocale::ShortFormat) + QLatin1Char(' ') +
           locale.toString(when.time(), QLocale::LongFormat);
}

QString CFileInfo::FormatSize(qint64 bytes)
{
    if (bytes < 1024)
        return QStringLiteral("%1 bytes").arg(bytes);
    const char *const units[] = {"KB", "MB", "GB", "TB"};
    double size = static_cast<double>(bytes);
    int unit = -1;
    while (size >= 1024.0 && unit < 3) {
        size /= 1024.0;
        ++unit;
    }
    return QStringLiteral("%1 %2").arg(size, 0, 'f', 1).arg(QLatin1String(units[unit]));
}
