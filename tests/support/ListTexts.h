#pragma once

#include <QListWidget>
#include <QTreeWidget>

// What a list shows, top to bottom.
inline QStringList itemTexts(const QListWidget* list) {
    QStringList out;
    for (int i = 0; i < list->count(); ++i)
        out.append(list->item(i)->text());
    return out;
}

// One column of a report-style list, top to bottom.
inline QStringList columnTexts(const QTreeWidget* list, int column) {
    QStringList out;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        out.append(list->topLevelItem(i)->text(column));
    return out;
}
