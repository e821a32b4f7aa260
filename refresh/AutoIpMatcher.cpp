#include "AutoIpMatcher.h"

#include <limits>
#include <unordered_map>
#include <utility>

// Why this exists: a record is automatic when its key occurs anywhere in the
// upper-cased auto-IP list, as a substring. Searching the list once per
// record makes filling the grid of an account of 10,000 records, a third of
// them automatic, a matter of seconds. A key always ends in "~~", so an
// occurrence ends right after a "~~" of the list: the records are taken by
// key length, and for each length the substrings of that length that end
// after a "~~" are hashed once, as differences of a rolling hash over the
// list's prefixes, into a table the records' own hashes are looked up in.
// Every hit is compared in full, so the answer never rests on the hash
// alone. The key of an all-ASCII record (trimmed fields joined by ";;", "~~"
// at the end, upper-cased) is hashed and compared straight from its fields;
// any other record's key is built by RecordList::Key.

namespace RefreshRules {
namespace {

constexpr quint32 kBase = 1000003;

// The fields with the blanks at both ends taken off.
RecordList::FieldViews trimmed(const RecordList::FieldViews &fields)
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
template <typename Fn> bool forEachKeyChar(const RecordList::FieldViews &fields, Fn fn)
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

// The record's hash (and, for a record that is not all ASCII, its key,
// added to keys, with its index in index; -1 otherwise); the key's length.
qsizetype prepare(const RecordList::FieldViews &fields, quint32 &hash, qsizetype &index,
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
            hash = h;
            index = static_cast<qsizetype>(keys.size());
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
    hash = h;
    index = -1;
    return length;
}

} // namespace

bool AutoIpMatcher::same(const Query &query, qint32 start, const FieldsAt &fieldsAt,
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

size_t AutoIpMatcher::fillTable(qsizetype length, std::vector<Entry> &table) const
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

AutoIpMatcher::AutoIpMatcher(QString upperList) : m_list(std::move(upperList))
{
    if (m_list.size() >= std::numeric_limits<qint32>::max())
        return;
    const auto *text = reinterpret_cast<const char16_t *>(m_list.constData());
    m_prefix.resize(static_cast<size_t>(m_list.size()) + 1);
    for (qsizetype i = 0; i < m_list.size(); ++i) {
        m_prefix[static_cast<size_t>(i) + 1] =
            m_prefix[static_cast<size_t>(i)] * kBase + text[i] + 1;
        if (i > 0 && text[i] == u'~' && text[i - 1] == u'~')
            m_ends.push_back(static_cast<qint32>(i + 1));
    }
}

std::vector<bool> AutoIpMatcher::match(const std::vector<RecordList::FieldViews> &records) const
{
    return match(records.size(), [&records](size_t i) { return records[i]; });
}

std::vector<bool> AutoIpMatcher::match(size_t count, const FieldsAt &fieldsAt) const
{
    std::vector<bool> found(count, false);
    if (m_ends.empty())
        return found;
    std::unordered_map<qsizetype, std::vector<Query>> byLength;
    std::vector<QString> keys;
    for (size_t r = 0; r < count; ++r) {
        Query query{r, 0, -1};
        const qsizetype length = prepare(fieldsAt(r), query.hash, query.key, keys);
        if (length <= m_list.size())
            byLength[length].push_back(query);
    }
    std::vector<Entry> table;
    for (const auto &[length, queries] : byLength) {
        const size_t mask = fillTable(length, table);
        for (const Query &query : queries) {
            for (size_t slot = query.hash & mask; table[slot].start >= 0;
                 slot = (slot + 1) & mask) {
                if (table[slot].hash == query.hash &&
                    same(query, table[slot].start, fieldsAt, keys)) {
                    found[query.row] = true;
                    break;
                }
            }
        }
    }
    return found;
}

} // namespace RefreshRules
