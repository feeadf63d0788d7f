// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QTest>

#include <cstddef>
#include <tuple>
#include <utility>

// The column names of a data table, one string separated by spaces: "text number stored".
template <std::size_t N> struct Columns
{
    // QTest keeps the name pointers, so the names live here, each ended by a NUL.
    constexpr Columns(const char (&names)[N])
    {
        for (std::size_t i = 0; i < N; ++i)
            text[i] = names[i] == ' ' ? '\0' : names[i];
    }
    constexpr std::size_t count() const
    {
        std::size_t n = 1;
        for (std::size_t i = 0; i + 1 < N; ++i)
            n += text[i] == '\0';
        return n;
    }
    const char *at(std::size_t k) const
    {
        const char *p = text;
        for (; k > 0; --k)
            while (*p++ != '\0') {
            }
        return p;
    }
    char text[N]{};
};

// A Qt Test data table with named, typed columns: a _data function makes one and calls it once
// per row, its test takes the current row apart with fetch(). A failing row names its column.
template <Columns names, typename... T> struct DataTable
{
    static_assert(names.count() == sizeof...(T), "one name per column");
    DataTable() { add(std::index_sequence_for<T...>()); }
    void operator()(const char *name, const T &...values) const
    {
        (QTest::newRow(name) << ... << values);
    }
    static std::tuple<T...> fetch() { return get(std::index_sequence_for<T...>()); }

private:
    template <std::size_t... I> static void add(std::index_sequence<I...>)
    {
        (QTest::addColumn<T>(names.at(I)), ...);
    }
    template <std::size_t... I> static std::tuple<T...> get(std::index_sequence<I...>)
    {
        return {*static_cast<T *>(QTest::qData(names.at(I), qMetaTypeId<T>()))...};
    }
};
