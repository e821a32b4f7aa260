#pragma once

#include <QDateTime>
#include <QFileInfo>
#include <QString>

// Facts about one file, read afresh at every question (the log pruning asks
// how old each daily log is).
class CFileInfo
{
public:
    explicit CFileInfo(const QString &fullPath) : m_info(fullPath) { m_info.setCaching(false); }

    QDateTime DateModified() const { return m_info.lastModified(); }

private:
    QFileInfo m_info;
};
