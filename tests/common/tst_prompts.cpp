// The real dialogs behind the prompt service, driven while they are open as a person would.
#include "TestFiles.h"

#include "common/SystemServices.h"

#include <QtTest>
#include <QtWidgets>

using namespace Qt::StringLiterals;

namespace {
constexpr int kWait = 10000;

// Runs act on the modal dialog of type T as soon as it is open; act closes it.
template <typename T> void whenOpen(QObject* context, std::function<void(T*)> act) {
    auto* look = new QTimer(context);
    QObject::connect(look, &QTimer::timeout, context, [look, act] {
        if (auto* dialog = qobject_cast<T*>(QApplication::activeModalWidget())) {
            look->deleteLater();
            look->stop();
            act(dialog);
            // A check that failed inside act must not leave the test waiting on an open dialog.
            if (dialog->isVisible())
                dialog->reject();
        }
    });
    look->start(10);
}
} // namespace

class PromptsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // "Send File" asks with the caption "All Files" alone: the files of the folder are there to pick.
    void fileDialogListsFiles() {
        QTemporaryDir folder;
        QVERIFY(writeBytes(folder.filePath(u"a.zip"_s), "zip"));
        bool listed = false;
        whenOpen<QFileDialog>(this, [&](QFileDialog* dialog) {
            const auto* view = dialog->findChild<QListView*>(u"listView"_s);
            QVERIFY(view);
            listed = QTest::qWaitFor(
                [&] {
                    const QModelIndex root = view->rootIndex();
                    for (int row = 0; row < view->model()->rowCount(root); ++row) {
                        if (view->model()->index(row, 0, root).data().toString() == u"a.zip")
                            return true;
                    }
                    return false;
                },
                kWait);
            if (!listed) {
                dialog->reject();
                return;
            }
            // Typed into the name box, as a person picks a file; the box may have the focus, where
            // selectFile() would leave it alone.
            auto* name = dialog->findChild<QLineEdit*>(u"fileNameEdit"_s);
            QVERIFY(name);
            name->setText(u"a.zip"_s);
            static_cast<QDialog*>(dialog)->accept(); // the file dialog's own accept, as its button runs it
        });
        QtPrompts prompts;
        const QString chosen = prompts.openFile(u"Select a File To Send."_s, folder.path(), u"All Files"_s);
        QVERIFY(listed);
        QCOMPARE(chosen, folder.filePath(u"a.zip"_s));
    }

    // A favourite's entry is shown whole in the box that edits it.
    void inputBoxFitsWhatItProposes() {
        const QString entry = u"Fred's Bar, Capture the Flag - 255.255.255.255 - 27910"_s;
        int shown = 0;
        int needed = 0;
        whenOpen<QInputDialog>(this, [&](QInputDialog* dialog) {
            auto* edit = dialog->findChild<QLineEdit*>();
            QVERIFY(edit);
            QVERIFY(QTest::qWaitForWindowExposed(dialog));
            shown = edit->contentsRect().width();
            needed = edit->fontMetrics().horizontalAdvance(entry);
            dialog->accept();
        });
        QtPrompts prompts;
        QCOMPARE(prompts.input(u"Enter server name/descriotion, IP and port"_s, u"Edit"_s, entry), entry);
        QVERIFY2(shown >= needed, qPrintable(u"%1 of %2 pixels"_s.arg(shown).arg(needed)));
    }
};

QTEST_MAIN(PromptsTest)
#include "tst_prompts.moc"
