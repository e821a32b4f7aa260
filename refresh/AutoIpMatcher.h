#pragma once

#include "RecordList.h"

#include <QString>
#include <vector>

namespace AutoRefresh {

// Finds the records whose key occurs anywhere in the upper-cased auto-IP
// list, exactly as a substring search would, without searching the whole
// list once per record. A key ends in "~~", so an occurrence ends just after
// a "~~" of the list. The records are taken by key length; for each length the
// substrings of that length ending after a "~~" are hashed once (a rolling
// hash over the list's prefixes), and every hit is compared in full, so the
// answer never rests on the hash alone. The key of an all-ASCII record
// (RecordList::Key: trimmed fields joined by ";;", "~~" at the end,
// upper-cased) is read straight from its fields; any other record's key is
// built by RecordList::Key.
class AutoIpMatcher
{
public:
    explicit AutoIpMatcher(QString upperList);

    // For each record, whether its key is in the list.
    std::vector<bool> match(const std::vector<RecordList::FieldViews> &records) const;

private:
    static constexpr quint32 kBase = 1000003;

    struct Query
    {
        size_t row;
        quint32 hash;
        RecordList::FieldViews trimmed; // all-ASCII records
        QString key;                    // any other record
    };
    struct Entry
    {
        quint32 hash;
        qint32 start; // -1: a free slot
    };

    // Calls fn with each character of the key of an all-ASCII record, in
    // order, while fn returns true; returns whether it went to the end.
    template <typename Fn> static bool forEachKeyChar(const RecordList::FieldViews &fields, Fn fn)
    {
        for (size_t i = 0; i < 4; ++i) {
            for (const QChar ch : fields[i]) {
                char16_t c = ch.unicode();
                if (c >= u'a' && c <= u'z')
                    c = static_cast<char16_t>(c - (u'a' - u'A'));
                if (!fn(c))
                    return false;
            }
            const char16_t separator = i < 3 ? u';' : u'~';
            if (!fn(separator) || !fn(separator))
                return false;
        }
        return true;
    }

    // The query's hash and its key's length.
    static qsizetype prepare(const RecordList::FieldViews &fields, Query &query)
    {
        qsizetype length = 8; // three ";;" and the closing "~~"
        for (size_t i = 0; i < 4; ++i) {
            QStringView f = fields[i];
            while (!f.isEmpty() && f.front() == QLatin1Char(' '))
                f = f.sliced(1);
            while (!f.isEmpty() && f.back() == QLatin1Char(' '))
                f.chop(1);
            for (const QChar c : f) {
                if (c.unicode() < 0x80)
                    continue;
                query.key = RecordList::Key(fields[0].toString(), fields[1].toString(),
                                            fields[2].toString(), fields[3].toString());
                quint32 h = 0;
                for (const QChar k : std::as_const(query.key))
                    h = h * kBase + k.unicode() + 1;
                query.hash = h;
                return query.key.size();
            }
            query.trimmed[i] = f;
            length += f.size();
        }
        quint32 h = 0;
        forEachKeyChar(query.trimmed, [&h](char16_t c) {
            h = h * kBase + c + 1;
            return true;
        });
        query.hash = h;
        return length;
    }

    bool same(const Query &query, qint32 start) const
    {
        if (!query.key.isEmpty())
            return QStringView(m_list).mid(start, query.key.size()) == query.key;
        const QChar *at = m_list.constData() + start;
        return forEachKeyChar(query.trimmed, [&at](char16_t c) { return (at++)->unicode() == c; });
    }

    // Fills the table with the substrings of that length that end after a
    // "~~"; returns the table's mask.
    size_t fillTable(qsizetype length, std::vector<Entry> &table) const
    {
        quint32 shift = 1;
        for (qsizetype i = 0; i < length; ++i)
            shift *= kBase;
        size_t size = 16;
        while (size < m_ends.size() * 2)
            size *= 2;
        table.assign(size, {0, -1});
        const size_t mask = size - 1;
        for (const qint32 end : m_ends) {
            const qsizetype start = end - length;
            if (start < 0)
                continue;
            const quint32 h =
                m_prefix[static_cast<size_t>(end)] - m_prefix[static_cast<size_t>(start)] * shift;
            size_t slot = h & mask;
            while (table[slot].start >= 0)
                slot = (slot + 1) & mask;
            table[slot] = {h, static_cast<qint32>(start)};
        }
        return mask;
    }

    QString m_list;
    std::vector<quint32> m_prefix;
    std::vector<qint32> m_ends;
};

} // namespace AutoRefresh
