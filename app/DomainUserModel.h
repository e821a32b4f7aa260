#pragma once

#include "RecordList.h"

#include <QAbstractTableModel>
#include <QStringList>
#include <QStringView>
#include <algorithm>
#include <array>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

// The rows of lvDomainUser. The grid is refilled from the whole record list
// on every change, so a row is kept as where its four fields stand in the
// record list the model holds on to (the list is the session's own string,
// shared, not a copy), the AutoIP mark and the record's position in the
// list, which makes its key ("Row0", "Row1", ...). The cells are what the
// grid shows: a name of "@" is an empty cell, AutoIP is "Yes" or "No".
class DomainUserModel : public QAbstractTableModel
{
    using Fields = RecordList::FieldViews;

public:
    // A record's fields follow each other, ";;" between them, and none is
    // longer than a record can hold (RecordList::WithinLimits): the first
    // field's start and the four lengths tell where each one stands.
    struct Row
    {
        qsizetype start = 0;
        std::array<quint16, 4> length{};
        int position = 0;
        bool autoIP = false;

        // The row of a record whose fields are views into text.
        static Row Of(const QString &text, const Fields &fields, int position)
        {
            Row row;
            row.start = fields[0].data() - text.constData();
            for (size_t i = 0; i < 4; ++i)
                row.length[i] = static_cast<quint16>(fields[i].size());
            row.position = position;
            return row;
        }
        // Its fields, as views into the text it stands in.
        Fields in(QStringView text) const
        {
            Fields f;
            qsizetype at = start;
            for (size_t i = 0; i < 4; ++i) {
                f[i] = text.sliced(at, length[i]);
                at += length[i] + RecordList::FieldSeparator.size();
            }
            return f;
        }
    };

    using QAbstractTableModel::QAbstractTableModel;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }
    int columnCount(const QModelIndex &parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_headers.size());
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!index.isValid() || index.row() >= rowCount() || index.column() >= 5)
            return {};
        if (role == Qt::DisplayRole)
            return cell(index.row(), index.column()).toString();
        if (role == Qt::UserRole && index.column() == 0)
            return QStringLiteral("Row") + QString::number(row(index.row()).position);
        return {};
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 &&
            section < m_headers.size())
            return m_headers.at(section);
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    Qt::ItemFlags flags(const QModelIndex &index) const override
    {
        return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren
                               : Qt::NoItemFlags;
    }

    Fields fields(const Row &row) const { return row.in(m_text); }
    QStringView cell(int r, int column) const
    {
        const Row &shown = row(r);
        switch (column) {
        case 2: {
            const QStringView name = fields(shown)[2];
            return name == QLatin1String("@") ? QStringView() : name;
        }
        case 4:
            return shown.autoIP ? QStringView(u"Yes") : QStringView(u"No");
        default:
            return fields(shown)[static_cast<size_t>(column)];
        }
    }
    const Row &row(int i) const { return m_rows[static_cast<size_t>(i)]; }
    void setHeaders(const QStringList &headers)
    {
        beginResetModel();
        m_headers = headers;
        m_rows.clear();
        m_text.clear();
        endResetModel();
    }

    // Rows leave and arrive as row changes, so the columns keep their widths.
    void clearRows()
    {
        if (m_rows.empty())
            return;
        beginRemoveRows(QModelIndex(), 0, rowCount() - 1);
        m_rows.clear();
        m_rows.shrink_to_fit();
        m_text.clear();
        endRemoveRows();
    }
    // The rows stand in text, which the model keeps.
    void setRows(const QString &text, std::vector<Row> rows,
                 const std::optional<std::pair<int, Qt::SortOrder>> &sort)
    {
        clearRows();
        if (rows.empty())
            return;
        beginInsertRows(QModelIndex(), 0, static_cast<int>(rows.size()) - 1);
        m_text = text;
        m_rows = std::move(rows);
        if (sort)
            sortRows(sort->first, sort->second);
        endInsertRows();
    }
    int rowOfPosition(int position) const
    {
        for (size_t i = 0; i < m_rows.size(); ++i) {
            if (m_rows[i].position == position)
                return static_cast<int>(i);
        }
        return -1;
    }

    // The list view's own sort: cells compare as text, with case; rows that
    // compare equal keep their order. Selection and current row move along.
    void sort(int column, Qt::SortOrder order) override
    {
        if (column < 0 || column >= 5)
            return;
        emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
        const QModelIndexList before = persistentIndexList();
        std::vector<int> positions;
        positions.reserve(static_cast<size_t>(before.size()));
        for (const QModelIndex &index : before)
            positions.push_back(row(index.row()).position);
        sortRows(column, order);
        std::unordered_map<int, int> rowAt;
        for (const int position : positions)
            rowAt.emplace(position, -1);
        for (size_t i = 0; i < m_rows.size(); ++i) {
            auto it = rowAt.find(m_rows[i].position);
            if (it != rowAt.end())
                it->second = static_cast<int>(i);
        }
        QModelIndexList after;
        after.reserve(before.size());
        for (qsizetype i = 0; i < before.size(); ++i)
            after.append(index(rowAt[positions[static_cast<size_t>(i)]], before[i].column()));
        changePersistentIndexList(before, after);
        emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
    }

private:
    void sortRows(int column, Qt::SortOrder order)
    {
        // Sorted through an index so the cells are read once per comparison.
        std::vector<std::pair<QStringView, size_t>> keys;
        keys.reserve(m_rows.size());
        for (size_t i = 0; i < m_rows.size(); ++i)
            keys.emplace_back(cell(static_cast<int>(i), column), i);
        const bool ascending = order == Qt::AscendingOrder;
        std::stable_sort(keys.begin(), keys.end(), [ascending](const auto &a, const auto &b) {
            return ascending ? a.first.compare(b.first) < 0 : b.first.compare(a.first) < 0;
        });
        std::vector<Row> sorted;
        sorted.reserve(m_rows.size());
        for (const auto &key : keys)
            sorted.push_back(m_rows[key.second]);
        m_rows = std::move(sorted);
    }

    QString m_text;
    std::vector<Row> m_rows;
    QStringList m_headers;
};
