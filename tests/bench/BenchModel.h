#pragma once

// The leanest model of a record list the bare programs show: the list kept
// as one string, four views into it per row.
#include <QAbstractTableModel>
#include <QString>
#include <QStringView>
#include <array>
#include <vector>

namespace Bench {

class RecordModel : public QAbstractTableModel
{
public:
    explicit RecordModel(QString text) : m_text(std::move(text))
    {
        if (m_text.isEmpty())
            return;
        const QStringView all(m_text);
        qsizetype begin = 0;
        while (begin <= all.size()) {
            qsizetype end = all.indexOf(u"~~", begin);
            if (end < 0)
                end = all.size();
            const QStringView piece = all.sliced(begin, end - begin);
            std::array<QStringView, 4> row;
            qsizetype from = 0;
            for (QStringView &field : row) {
                qsizetype to = piece.indexOf(u";;", from);
                if (to < 0)
                    to = piece.size();
                field = piece.sliced(from, qMax<qsizetype>(0, to - from));
                from = qMin(piece.size(), to + 2);
            }
            m_rows.push_back(row);
            begin = end + 2;
        }
    }
    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }
    int columnCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : 4;
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (role != Qt::DisplayRole || !index.isValid())
            return {};
        return m_rows[static_cast<size_t>(index.row())][static_cast<size_t>(index.column())]
            .toString();
    }

private:
    QString m_text;
    std::vector<std::array<QStringView, 4>> m_rows;
};

} // namespace Bench
