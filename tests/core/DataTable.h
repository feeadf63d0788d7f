// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QTest>

#include <tuple>
#include <utility>

// A Qt Test data table whose typed columns are named by their position: a _data function
// makes one and calls it once per row, its test takes the current row apart with fetch().
template <typename... T> struct DataTable
{
    DataTable() { add(std::index_sequence_for<T...>()); }
    void operator()(const char *name, const T &...values) const
    {
        (QTest::newRow(name) << ... << values);
    }
    static std::tuple<T...> fetch() { return get(std::index_sequence_for<T...>()); }

private:
    static constexpr const char *column[]{"0", "1", "2", "3", "4", "5", "6", "7"};
    template <std::size_t... I> static void add(std::index_sequence<I...>)
    {
        (QTest::addColumn<T>(column[I]), ...);
    }
    template <std::size_t... I> static std::tuple<T...> get(std::index_sequence<I...>)
    {
        return {*static_cast<T *>(QTest::qData(column[I], qMetaTypeId<T>()))...};
    }
};
