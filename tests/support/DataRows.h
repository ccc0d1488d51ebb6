#pragma once

#include <QtTest>

#include <tuple>

// The columns of a data-driven test in one statement: addColumns<QString, int>("name", "count").
template <typename... T, typename... Names> void addColumns(Names... names) {
    static_assert(sizeof...(T) == sizeof...(Names), "one name per column");
    (QTest::addColumn<T>(names), ...);
}

// The current row, for a structured binding: auto [name, count] = fetchRow<QString, int>("name", "count").
// The same look-up QFETCH makes, for several columns at once.
template <typename... T, typename... Names> std::tuple<T...> fetchRow(Names... names) {
    static_assert(sizeof...(T) == sizeof...(Names), "one name per column");
    return {*static_cast<T*>(QTest::qData(names, qMetaTypeId<T>()))...};
}
