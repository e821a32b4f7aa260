#include "QueryText.h"

#include <QUrl>

namespace {

QString decode(QStringView text)
{
    return QUrl::fromPercentEncoding(text.toUtf8());
}

} // namespace

QueryText::QueryText(const QString &rawQuery)
{
    for (const QStringView piece : QStringView(rawQuery).split(u'&')) {
        if (piece.isEmpty())
            continue;
        const qsizetype equals = piece.indexOf(u'=');
        const QString key = decode(equals < 0 ? piece : piece.left(equals)).toUpper();
        const QString value = equals < 0 ? QString() : decode(piece.mid(equals + 1));
        if (!m_values.contains(key))
            m_values.insert(key, value);
    }
}

std::optional<QString> QueryText::value(const QString &key) const
{
    const auto it = m_values.constFind(key.toUpper());
    if (it == m_values.constEnd())
        return std::nullopt;
    return *it;
}
