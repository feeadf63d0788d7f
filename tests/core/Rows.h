#pragma once

#include <QStringList>
#include <QTest>

#include <initializer_list>

// Data rows written as text, one row a line, fields separated by " | "; the first field names
// the row. The test reads the fields from the QStringList column "f".
inline void addRows(std::initializer_list<const char *> rows)
{
    QTest::addColumn<QStringList>("f");
    for (const char *row : rows) {
        const QStringList f = QString::fromUtf8(row).split(QStringLiteral(" | "));
        QTest::newRow(qPrintable(f[0])) << f;
    }
}
