#pragma once

#include "RecordList.h"

#include <QString>
#include <functional>
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
    // Gives the fields of record i; asked more than once for a record.
    using FieldsAt = std::function<RecordList::FieldViews(size_t i)>;

    explicit AutoIpMatcher(QString upperList);

    // For each record, whether its key is in the list.
    std::vector<bool> match(const std::vector<RecordList::FieldViews> &records) const;
    // The same for count records read through fieldsAt, which needs no copy
    // of the fields of all of them.
    std::vector<bool> match(size_t count, const FieldsAt &fieldsAt) const;

private:
    static constexpr quint32 kBase = 1000003;

    // One record to look for: its hash, and for a record that is not all
    // ASCII the index of its key in the keys built (-1 for the others, whose
    // keys are read from their fields again when a hash hits).
    struct Query
    {
        size_t row;
        quint32 hash;
        qsizetype key;
    };
    struct Entry
    {
        quint32 hash;
        qint32 start; // -1: a free slot
    };

    // The fields with the blanks at both ends taken off.
    static RecordList::FieldViews trimmed(const RecordList::FieldViews &fields)
    {
        RecordList::FieldViews t;
        for (size_t i = 0; i < 4; ++i) {
            QStringView f = fields[i];
            while (!f.isEmpty() && f.front() == QLatin1Char(' '))
                f = f.sliced(1);
            while (!f.isEmpty() && f.back() == QLatin1Char(' '))
                f.chop(1);
            t[i] = f;
        }
        return t;
    }

    // Calls fn with each character of the key of an all-ASCII record (its
    // trimmed fields), in order, while fn returns true; returns whether it
    // went to the end.
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

    // The query's hash (and, for a record that is not all ASCII, its key,
    // added to keys); the key's length.
    static qsizetype prepare(const RecordList::FieldViews &fields, Query &query,
                             std::vector<QString> &keys)
    {
        const RecordList::FieldViews t = trimmed(fields);
        qsizetype length = 8; // three ";;" and the closing "~~"
        for (size_t i = 0; i < 4; ++i) {
            for (const QChar c : t[i]) {
                if (c.unicode() < 0x80)
                    continue;
                const QString key = RecordList::Key(fields[0].toString(), fields[1].toString(),
                                                    fields[2].toString(), fields[3].toString());
                quint32 h = 0;
                for (const QChar k : key)
                    h = h * kBase + k.unicode() + 1;
                query.hash = h;
                query.key = static_cast<qsizetype>(keys.size());
                keys.push_back(key);
                return key.size();
            }
            length += t[i].size();
        }
        quint32 h = 0;
        forEachKeyChar(t, [&h](char16_t c) {
            h = h * kBase + c + 1;
            return true;
        });
        query.hash = h;
        query.key = -1;
        return length;
    }

    bool same(const Query &query, qint32 start, const FieldsAt &fieldsAt,
              const std::vector<QString> &keys) const
    {
        if (query.key >= 0) {
            const QString &key = keys[static_cast<size_t>(query.key)];
            return QStringView(m_list).mid(start, key.size()) == key;
        }
        const QChar *at = m_list.constData() + start;
        return forEachKeyChar(trimmed(fieldsAt(query.row)),
                              [&at](char16_t c) { return (at++)->unicode() == c; });
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
