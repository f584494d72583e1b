#pragma once

#include <QString>
#include <QTest>
#include <type_traits>

// Compact data tables: columns<int, QString>("count", "text") declares the
// columns, row("tag", 1, "one") adds a row (C strings become QString cells).
template <typename... T, typename... Names>
void columns(Names const&... names)
{
    static_assert(sizeof...(T) == sizeof...(Names));
    (QTest::addColumn<T>(names), ...);
}

template <typename... T>
void row(char const* tag, T const&... values)
{
    auto cell = [](auto const& v) {
        if constexpr (std::is_convertible_v<decltype(v), char const*>)
            return QString::fromUtf8(v);
        else
            return v;
    };
    (QTest::newRow(tag) << ... << cell(values));
}
