#pragma once

#include <QDialog>

class ChatSession;
class QComboBox;
class QFileSystemModel;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTreeView;

// The offer dialog: shows who offers which file, lets the user choose the folder to save into, and
// accepts or refuses. It cannot be closed without an answer, neither by its close box nor by Escape.
class Path : public QDialog {
    Q_OBJECT
public:
    explicit Path(ChatSession& session, QWidget* parent = nullptr);

    QString offerFrom; // the sender, bracketed
    QString offerHost;
    QString offerPort;
    int pmIndex = 0;
    int answered = 0;

    QPlainTextEdit* Text2;
    QComboBox* Drive1;
    QTreeView* Dir1;
    QLineEdit* Text1;
    QLabel* Label1;
    QPushButton* Command1;
    QPushButton* Command2;

    void showOffer(const QString& bracketedSender, const QString& file, const QString& port,
                   const QString& address, int windowIndex);
    // Points the folder list at a folder, as a click on it would.
    void chooseFolder(const QString& folder);
    QString folder() const;

    void Drive1_Change();
    void Dir1_Change();
    void Command1_Click();
    void Command2_Click();

    void reject() override;

Q_SIGNALS:
    // The offer was accepted: the private window in that slot receives the file.
    void offerAccepted(int windowIndex, const QString& bracketedSender, const QString& host, const QString& port);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void unload();

    ChatSession& m_session;
    QFileSystemModel* m_folders;
};
