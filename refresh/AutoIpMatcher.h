#pragma once

#include "RecordList.h"

#include <QString>
#include <functional>
#include <vector>

namespace RefreshRules {

// Finds the records whose key occurs anywhere in the upper-cased auto-IP
// list, exactly as a substring search would, without searching the whole
// list once per record (AutoIpMatcher.cpp says how, and why).
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

    bool same(const Query &query, qint32 start, const FieldsAt &fieldsAt,
              const std::vector<QString> &keys) const;
    // Fills the table with the substrings of that length that end after a
    // "~~"; returns the table's mask.
    size_t fillTable(qsizetype length, std::vector<Entry> &table) const;

    QString m_list;
    // The rolling hash of every prefix of the list, and where each "~~" ends.
    std::vector<quint32> m_prefix;
    std::vector<qint32> m_ends;
};

} // namespace RefreshRules
