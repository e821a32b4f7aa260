#pragma once

#include <QHash>
#include <QString>
#include <optional>

// The parameters of a request's query text, read the way the client writes
// them: pieces split on "&", each split on its first "=", key and value
// percent-decoded after splitting. Nothing else is decoded: the client sends
// its values unescaped, so a "+" is a plus sign. Keys match without regard to
// letter case; when a key comes twice, the first one counts.
class QueryText
{
public:
    explicit QueryText(const QString &rawQuery);

    bool contains(const QString &key) const { return m_values.contains(key.toUpper()); }
    // The decoded value; nullopt when the key is absent.
    std::optional<QString> value(const QString &key) const;

private:
    QHash<QString, QString> m_values; // upper-cased key -> value
};
