// Sorting a report-style list by a column as text, numbers or dates.
#include "DataRows.h"
#include "FakeServices.h"
#include "ListTexts.h"

#include "common/SortView.h"

#include <QHeaderView>
#include <QTreeWidget>
#include <QtTest>

namespace {

// A list of rows "a|b|c", shown, as the monitor's players list is.
struct List {
    QTreeWidget tree;
    explicit List(const QStringList& rows) {
        tree.setColumnCount(3);
        for (const QString& row : rows)
            tree.addTopLevelItem(new QTreeWidgetItem(row.split(u'|')));
        tree.show();
    }
};

} // namespace

class SortViewTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    // clang-format off
    void sortColumn_data() {
        // sorted: the sorted column, as it reads afterwards
        // firsts: column 1 afterwards, to see that rows moved whole
        addColumns<QStringList, int, int, int, QStringList, QStringList>("rows", "column", "type", "direction", "sorted", "firsts");

        const QStringList pings{QStringLiteral("a|50|x"), QStringLiteral("b|7|y"), QStringLiteral("c|123|z")};
        QTest::newRow("ping descending") << pings << 2 << 1 << 4 << QStringList{"123", "50", "7"} << QStringList{"c", "a", "b"};
        QTest::newRow("ping ascending") << pings << 2 << 1 << 3 << QStringList{"7", "50", "123"} << QStringList{"b", "a", "c"};
        QTest::newRow("as text 7 sorts last") << pings << 2 << 0 << 3 << QStringList{"123", "50", "7"} << QStringList{"c", "a", "b"};
        QTest::newRow("empty cell reads 0, numbers normalised") << QStringList{"7|a", "|b", "12.5|c", "3.50|d", "100|e"} << 1 << 1 << 3 << QStringList{"0", "3.5", "7", "12.5", "100"} << QStringList{"0", "3.5", "7", "12.5", "100"};
        QTest::newRow("exponent") << QStringList{"2e2|a", "15|b"} << 1 << 1 << 4 << QStringList{"200", "15"} << QStringList{"200", "15"};
        QTest::newRow("names ignore case, equal names keep order") << QStringList{"1|1|\"bob\"", "2|2|\"Al\"", "3|3|\"al\"", "4|4|\"Cy\""} << 3 << 0 << 3 << QStringList{"\"Al\"", "\"al\"", "\"bob\"", "\"Cy\""} << QStringList{"2", "3", "1", "4"};
        QTest::newRow("dates month first, back in general form") << QStringList{"x|2/1/2003", "y|12/31/2002", "z|12/31/2002 8:05:09 PM"} << 2 << 2 << 3 << QStringList{"12/31/2002", "12/31/2002 8:05:09 PM", "2/1/2003"} << QStringList{"y", "z", "x"};
        QTest::newRow("another sort type does nothing") << pings << 2 << 7 << 3 << QStringList{"50", "7", "123"} << QStringList{"a", "b", "c"};
    }
    // clang-format on

    void sortColumn() {
        auto [rows, column, type, direction, sorted, firsts] =
            fetchRow<QStringList, int, int, int, QStringList, QStringList>("rows", "column", "type",
                                                                           "direction", "sorted", "firsts");
        List list(rows);
        FakePrompts prompts;
        QVERIFY(SortView(prompts).SortColumn(list.tree, qint16(column), qint16(type), qint16(direction)));
        QCOMPARE(columnTexts(&list.tree, column - 1), sorted);
        QCOMPARE(columnTexts(&list.tree, 0), firsts);
        QCOMPARE(prompts.shown.size(), 0);
        QVERIFY(list.tree.isVisible());
    }

    void cellsThatAreNotNumbersOrDates_data() {
        addColumns<QStringList, int, int, QString>("rows", "column", "type", "message");
        QTest::newRow("text among numbers") << QStringList{"5", "five", ""} << 1 << 1 << "Type mismatch (13)";
        // A negative number gets its zeros in front of the sign and cannot be read back.
        QTest::newRow("negative with a longer number") << QStringList{"-5", "100"} << 1 << 1 << "Type mismatch (13)";
        QTest::newRow("not a date") << QStringList{"1/1/2003", "soon"} << 1 << 2 << "Type mismatch (13)";
        QTest::newRow("no such column") << QStringList{"1"} << 9 << 0 << "Invalid property value (380)";
    }

    void cellsThatAreNotNumbersOrDates() {
        auto [rows, column, type, message] =
            fetchRow<QStringList, int, int, QString>("rows", "column", "type", "message");
        List list(rows);
        FakePrompts prompts;
        SortView(prompts).SortColumn(list.tree, qint16(column), qint16(type), SortView::Ascending);
        QCOMPARE(prompts.lines(), QStringList{QStringLiteral("ListView Sort module Error|") + message + u'|' +
                                              QString::number(int(Prompts::Icon::Critical))});
        QVERIFY(list.tree.isVisible());
        // Nothing is lost: every cell keeps its own text.
        QStringList after = columnTexts(&list.tree, 0);
        after.sort();
        rows.sort();
        QCOMPARE(after, rows);
    }

    void directionKeepsOrAlternates() {
        List list({QStringLiteral("b|2"), QStringLiteral("a|1"), QStringLiteral("c|3")});
        FakePrompts prompts;
        SortView sort(prompts);
        QCOMPARE(SortView::sortOrder(list.tree), Qt::AscendingOrder);
        sort.SortColumn(list.tree, 2, SortView::Number, SortView::Descending);
        QCOMPARE(SortView::sortOrder(list.tree), Qt::DescendingOrder);
        // A direction code other than 3 or 4 sorts in the order the list already has.
        sort.SortColumn(list.tree, 1, SortView::Text, 0);
        QCOMPARE(columnTexts(&list.tree, 0), (QStringList{"c", "b", "a"}));
        QCOMPARE(list.tree.header()->sortIndicatorSection(), 0);
    }
};

QTEST_MAIN(SortViewTest)
#include "tst_sortview.moc"
