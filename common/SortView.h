#pragma once

#include "common/SortCells.h"

#include <Qt>

class Prompts;
class QTreeWidget;

// Sorts a report-style list by one column as text, numbers or dates. The list itself only sorts
// text, so number and date columns are rewritten into a text form that sorts right, sorted and
// rewritten back: a number column comes back normalised (an empty cell reads "0", 3.50 reads 3.5)
// and a date column in the general date form.
class SortView {
public:
    enum SortType : qint16 { Text = 0, Number = 1, Date = 2 };
    enum Direction : qint16 { Ascending = 3, Descending = 4 };

    explicit SortView(Prompts& prompts) : m_prompts(prompts) {}

    // column counts from 1. Another type does nothing; another direction keeps the list's order.
    // A cell that cannot be read shows "ListView Sort module Error" and leaves the column as it was.
    // Returns true when it completes.
    bool SortColumn(QTreeWidget& list, qint16 column, qint16 sortType, qint16 direction);

    // The same, for a sort the person did not ask for just now (the rows were replaced): a cell that
    // cannot be read leaves the rows as they came, without a box.
    bool SortColumnQuietly(QTreeWidget& list, qint16 column, qint16 sortType, qint16 direction);

    // The order the list was last sorted in; ascending before the first sort.
    static Qt::SortOrder sortOrder(const QTreeWidget& list);

private:
    void ApplySort(QTreeWidget& list, qint16 direction, int key);
    void report(const SortCells::Error& error);

    Prompts& m_prompts;
    bool m_quiet = false;
};
