#include "common/SortView.h"

#include "common/Prompts.h"
#include "common/SortCells.h"

#include <QHash>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <QTreeWidget>

#include <algorithm>

namespace {

const char* const kSortOrder = "SortOrder";

QStringList columnCells(const QTreeWidget& list, int key) {
    QStringList cells;
    for (int i = 0; i < list.topLevelItemCount(); ++i)
        cells.append(list.topLevelItem(i)->text(key));
    return cells;
}

void setColumnCells(QTreeWidget& list, int key, const QStringList& cells) {
    for (int i = 0; i < list.topLevelItemCount() && i < cells.size(); ++i)
        list.topLevelItem(i)->setText(key, cells.at(i));
}

// Hides the list while its cells are rewritten, so each change is not drawn, and always shows it
// again, whatever happened meanwhile.
class HiddenWhileRewriting {
public:
    explicit HiddenWhileRewriting(QTreeWidget& list) : m_list(list), m_hadFocus(list.hasFocus()) { list.hide(); }
    ~HiddenWhileRewriting() {
        m_list.show();
        if (m_hadFocus)
            m_list.setFocus();
    }
    HiddenWhileRewriting(const HiddenWhileRewriting&) = delete;
    HiddenWhileRewriting& operator=(const HiddenWhileRewriting&) = delete;

private:
    QTreeWidget& m_list;
    bool m_hadFocus;
};

} // namespace

Qt::SortOrder SortView::sortOrder(const QTreeWidget& list) {
    return list.property(kSortOrder).isValid() ? Qt::SortOrder(list.property(kSortOrder).toInt())
                                               : Qt::AscendingOrder;
}

bool SortView::SortColumn(QTreeWidget& list, qint16 column, qint16 sortType, qint16 direction) {
    const int key = column - 1;
    if (sortType != Text && sortType != Number && sortType != Date)
        return true;
    if (key < 0 || key >= list.columnCount()) {
        report({QStringLiteral("Invalid property value"), 380});
        return true;
    }
    if (sortType == Text) {
        ApplySort(list, direction, key);
        return true;
    }

    QHash<QTreeWidgetItem*, QString> original;
    for (int i = 0; i < list.topLevelItemCount(); ++i)
        original.insert(list.topLevelItem(i), list.topLevelItem(i)->text(key));
    auto fail = [&](const SortCells::Error& error) {
        // Nothing is lost: the column gets its own texts back, in the order the rows now stand.
        for (int i = 0; i < list.topLevelItemCount(); ++i)
            list.topLevelItem(i)->setText(key, original.value(list.topLevelItem(i)));
        report(error);
        return true;
    };

    const bool numbers = sortType == Number;
    HiddenWhileRewriting hidden(list);
    QStringList cells = columnCells(list, key);
    if (auto error = numbers ? SortCells::padNumbers(cells) : SortCells::datesForSorting(cells))
        return fail(*error);
    setColumnCells(list, key, cells);
    ApplySort(list, direction, key);
    cells = columnCells(list, key);
    if (auto error = numbers ? SortCells::restoreNumbers(cells) : SortCells::generalDates(cells))
        return fail(*error);
    setColumnCells(list, key, cells);
    return true;
}

bool SortView::SortColumnQuietly(QTreeWidget& list, qint16 column, qint16 sortType, qint16 direction) {
    const QScopedValueRollback quiet(m_quiet, true);
    return SortColumn(list, column, sortType, direction);
}

void SortView::report(const SortCells::Error& error) {
    if (!m_quiet)
        m_prompts.message(QStringLiteral("ListView Sort module Error"), error.text(),
                          Prompts::Icon::Critical);
}

void SortView::ApplySort(QTreeWidget& list, qint16 direction, int key) {
    Qt::SortOrder order = sortOrder(list);
    if (direction == Ascending)
        order = Qt::AscendingOrder;
    else if (direction == Descending)
        order = Qt::DescendingOrder;
    list.setProperty(kSortOrder, int(order));
    list.header()->setSortIndicatorShown(true);
    list.header()->setSortIndicator(key, order);

    // Text order as people read it: case does not separate names; equal texts keep their order.
    QTreeWidgetItem* current = list.currentItem();
    const QList<QTreeWidgetItem*> selected = list.selectedItems();
    QList<QTreeWidgetItem*> rows;
    while (list.topLevelItemCount() > 0)
        rows.append(list.takeTopLevelItem(0));
    std::stable_sort(rows.begin(), rows.end(), [key, order](QTreeWidgetItem* a, QTreeWidgetItem* b) {
        const int c = a->text(key).compare(b->text(key), Qt::CaseInsensitive);
        return order == Qt::AscendingOrder ? c < 0 : c > 0;
    });
    list.addTopLevelItems(rows);
    if (current)
        list.setCurrentItem(current);
    for (QTreeWidgetItem* row : selected)
        row->setSelected(true);
}
