#include "privatechat/Path.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/ChatSession.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFileSystemModel>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTreeView>

namespace {
// Drive letters where the system has them; elsewhere the file-system roots and the home folder.
QStringList driveList() {
    QStringList drives;
    for (const QFileInfo& root : QDir::drives())
        drives.append(root.absoluteFilePath());
    const QString home = QDir::homePath();
    if (!drives.contains(home))
        drives.append(home);
    return drives;
}
} // namespace

Path::Path(ChatSession& session, QWidget* parent)
    : QDialog(parent)
    , Text2(new QPlainTextEdit(QStringLiteral("Info :"), this))
    , Drive1(new QComboBox(this))
    , Dir1(new QTreeView(this))
    , Text1(new QLineEdit(this))
    , Label1(new QLabel(QStringLiteral("Save File"), this))
    , Command1(new QPushButton(QStringLiteral("Save File"), this))
    , Command2(new QPushButton(QStringLiteral("Reject file transfer"), this))
    , m_session(session)
    , m_folders(new QFileSystemModel(this)) {
    setObjectName(QStringLiteral("Path"));
    setWindowTitle(QStringLiteral("Select Path"));
    Text2->setObjectName(QStringLiteral("Text2"));
    Text2->setReadOnly(true);
    Text2->setAccessibleName(QStringLiteral("Offer"));
    Drive1->setObjectName(QStringLiteral("Drive1"));
    Drive1->setAccessibleName(QStringLiteral("Drive"));
    Drive1->addItems(driveList());
    Dir1->setObjectName(QStringLiteral("Dir1"));
    Dir1->setAccessibleName(QStringLiteral("Folder"));
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setReadOnly(true);
    Label1->setObjectName(QStringLiteral("Label1"));
    Label1->setBuddy(Text1);
    Text1->setAccessibleName(Label1->text());
    Command1->setObjectName(QStringLiteral("Command1"));
    Command2->setObjectName(QStringLiteral("Command2"));
    // Return must not answer an offer that the person may not have read.
    Command1->setAutoDefault(false);
    Command2->setAutoDefault(false);

    m_folders->setFilter(QDir::AllDirs | QDir::NoDotAndDotDot | QDir::Drives);
    m_folders->setRootPath(QString());
    Dir1->setModel(m_folders);
    for (int column = 1; column < m_folders->columnCount(); ++column)
        Dir1->hideColumn(column);
    Dir1->header()->hide();

    auto* layout = new QGridLayout(this);
    layout->addWidget(Text2, 0, 0, 1, 2);
    layout->addWidget(Drive1, 1, 0, 1, 2);
    layout->addWidget(Dir1, 2, 0, 1, 2);
    layout->addWidget(Label1, 3, 0);
    layout->addWidget(Text1, 3, 1);
    layout->addWidget(Command1, 4, 0);
    layout->addWidget(Command2, 4, 1);
    layout->setRowStretch(2, 1);
    Text2->setMaximumHeight(70);
    resize(420, 400);

    // Open where the downloads go now, on the drive that holds it.
    const QString current = QDir::cleanPath(session.downloadFolder());
    for (int i = Drive1->count() - 1; i >= 0; --i) {
        if (current.startsWith(QDir::cleanPath(Drive1->itemText(i)))) {
            Drive1->setCurrentIndex(i);
            break;
        }
    }
    Dir1->setRootIndex(m_folders->index(Drive1->currentText()));
    // The box always says where the file will go, also before the folder is made.
    Text1->setText(current);
    if (QFileInfo(current).isDir()) {
        const QModelIndex at = m_folders->index(current);
        Dir1->setCurrentIndex(at);
        Dir1->scrollTo(at);
    }

    connect(Drive1, &QComboBox::currentIndexChanged, this, &Path::Drive1_Change);
    connect(Dir1->selectionModel(), &QItemSelectionModel::currentChanged, this, &Path::Dir1_Change);
    connect(Command1, &QPushButton::clicked, this, &Path::Command1_Click);
    connect(Command2, &QPushButton::clicked, this, &Path::Command2_Click);
}

void Path::showOffer(const QString& bracketedSender, const QString& file, const QString& port,
                     const QString& address, int windowIndex) {
    show();
    raise();
    Text2->setPlainText(QStringLiteral("Info : ") + bracketedSender.mid(1, bracketedSender.size() - 2) +
                        QStringLiteral(" Would Like To Send You ") + file +
                        QStringLiteral(" Will You Accept?"));
    pmIndex = windowIndex;
    offerFrom = bracketedSender;
    offerHost = address;
    offerPort = port;
}

void Path::chooseFolder(const QString& folder) {
    Dir1->setCurrentIndex(m_folders->index(folder));
}

QString Path::folder() const {
    return Text1->text();
}

void Path::Drive1_Change() {
    const QModelIndex drive = m_folders->index(Drive1->currentText());
    // A drive that cannot be read leaves the list where it was.
    if (!drive.isValid())
        return;
    Dir1->setRootIndex(drive);
    Dir1->setCurrentIndex(drive);
}

void Path::Dir1_Change() {
    const QString chosen = m_folders->filePath(Dir1->currentIndex());
    if (chosen.isEmpty())
        return;
    Text1->setText(chosen);
    m_session.setDownloadFolder(chosen);
}

void Path::Command1_Click() {
    Q_EMIT offerAccepted(pmIndex, offerFrom, offerHost, offerPort);
    answered = 1;
    unload();
}

void Path::Command2_Click() {
    const QString nickname = offerFrom.mid(1, offerFrom.size() - 2);
    answered = 1;
    m_session.send(ChatMessage::build(ChatProtocol::PrivateMsg, {nickname, ChatProtocol::SendDecline.toString()}));
    unload();
}

void Path::unload() {
    close();
    deleteLater();
}

void Path::reject() {
    if (answered == 1)
        QDialog::reject();
}

void Path::closeEvent(QCloseEvent* event) {
    // Every offer must be answered with one of the two buttons.
    if (answered != 1)
        event->ignore();
    else
        event->accept();
}
