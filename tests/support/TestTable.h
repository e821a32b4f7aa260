#pragma once

#include <QTest>

// Text columns for a data-driven test, one row per tag and "field|field|...".
inline void TextTable(std::initializer_list<const char *> columns,
                      std::initializer_list<std::pair<const char *, const char *>> rows)
{
    for (const char *column : columns)
        QTest::addColumn<QString>(column);
    for (const auto &[tag, fields] : rows) {
        QTestData &row = QTest::newRow(tag);
        for (const QString &field : QString::fromUtf8(fields).split(u'|'))
            row << field;
    }
}
