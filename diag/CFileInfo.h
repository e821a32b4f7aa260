#pragma once

#include <QDateTime>
#include <QFileInfo>
#include <QString>

// Facts about one file: its names, size, times and attributes, with the
// program's date and size formatting.
class CFileInfo
{
public:
    CFileInfo() = default;
    explicit CFileInfo(const QString &fullPath) { SetFullPath(fullPath); }

    void SetFullPath(const QString &fullPath);
    QString FullPath() const { return m_info.absoluteFilePath(); }
    QString FileName() const { return m_info.fileName(); }
    QString Folder() const { return m_info.absolutePath(); }
    QString Extension() const { return m_info.suffix(); }

    bool Exists() const { return m_info.exists(); }
    qint64 Size() const { return m_info.size(); }
    QDateTime DateModified() const { return m_info.lastModified(); }
    QDateTime DateCreated() const { return m_info.birthTime(); }
    QDateTime DateAccessed() const { return m_info.lastRead(); }
    bool IsReadOnly() const { return m_info.exists() && !m_info.isWritable(); }
    bool IsHidden() const { return m_info.isHidden(); }
    bool IsFolder() const { return m_info.isDir(); }

    // Short date and long time of the user's locale.
    static QString FormatDate(const QDateTime &when);
    // "512 bytes", "1.5 KB", "3.2 MB", "1.1 GB".
    static QString FormatSize(qint64 bytes);

private:
    QFileInfo m_info;
};
