// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QTest>

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <utility>

// The column names of a data table, one string separated by blanks: "text number stored".
template <std::size_t N> struct Columns
{
    constexpr Columns(const char (&names)[N]) { std::copy_n(names, N, text); }
    char text[N]{};
};

// A Qt Test data table with named, typed columns: a _data function makes one and calls it once
// per row, its test takes the current row apart with fetch(). A failing row names its column.
template <Columns names, typename... T> struct DataTable
{
    static_assert(std::count(names.text, names.text + sizeof(names.text), ' ') + 1 == sizeof...(T),
                  "one name per column");
    DataTable() { add(std::index_sequence_for<T...>()); }
    void operator()(const char *name, const T &...values) const
    {
        (QTest::newRow(name) << ... << values);
    }
    static std::tuple<T...> fetch() { return get(std::index_sequence_for<T...>()); }

private:
    // QTest keeps the pointer it is given as a column's name.
    static const char *column(std::size_t k)
    {
        static const QList<QByteArray> split = QByteArray(names.text).split(' ');
        return split[qsizetype(k)].constData();
    }
    template <std::size_t... I> static void add(std::index_sequence<I...>)
    {
        (QTest::addColumn<T>(column(I)), ...);
    }
    template <std::size_t... I> static std::tuple<T...> get(std::index_sequence<I...>)
    {
        return {*static_cast<T *>(QTest::qData(column(I), qMetaTypeId<T>()))...};
    }
};
