#pragma once

#include <QLocale>
#include <QStringList>

#include <optional>

// The rewriting of one column's cells that lets a list which sorts only text sort numbers and
// dates: before the sort into a form whose text order is the wanted order, after it back.
namespace SortCells {

struct Error {
    QString description;
    int number = 0;
    QString text() const { return description + QStringLiteral(" (") + QString::number(number) + u')'; }
};
inline const Error TypeMismatch{QStringLiteral("Type mismatch"), 13};

// Empty cells become "0"; the others get zeros in front until the whole parts of all cells are
// as long as the longest one (7, 12.5 and 100 become 007, 012.5 and 100).
std::optional<Error> padNumbers(QStringList& cells);
// Every cell back as its value in the shortest general form: 007 gives 7, 3.50 gives 3.5.
std::optional<Error> restoreNumbers(QStringList& cells);

// Every cell as "yyyy MM dd HH:mm:ss", read in the locale's formats (and, failing those, month
// first, then day first, then ISO).
std::optional<Error> datesForSorting(QStringList& cells, const QLocale& locale = QLocale());
// Every cell in the locale's general date form: the short date with a four-digit year, followed
// by the time with seconds unless it is midnight.
std::optional<Error> generalDates(QStringList& cells, const QLocale& locale = QLocale());

} // namespace SortCells
