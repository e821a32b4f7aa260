#include "AutoIpMatcher.h"

#include <limits>
#include <unordered_map>
#include <utility>

namespace AutoRefresh {

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
        const qsizetype length = prepare(fieldsAt(r), query, keys);
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

} // namespace AutoRefresh
