// Two members in one process, each a session with its private windows and no main window: private
// windows, composer, offers and direct file transfers over 127.0.0.1, with the chat messages passing
// through scripted chat servers and each member's dispatcher.
#include "DataRows.h"
#include "FakeServices.h"
#include "ScriptedChatServer.h"
#include "TestFiles.h"

#include "chat/ChatDispatcher.h"
#include "chat/ChatRoomView.h"
#include "chat/ChatSession.h"
#include "common/Windows1252.h"
#include "privatechat/FileReceiver.h"
#include "privatechat/FileSender.h"
#include "privatechat/Form11.h"
#include "privatechat/Form3.h"
#include "privatechat/Form5.h"
#include "privatechat/Path.h"
#include "privatechat/PrivateChat.h"

#include <QtNetwork>
#include <QtTest>
#include <QtWidgets>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#endif

using namespace Qt::StringLiterals;

using Direction = TransferView::Direction;

namespace {
constexpr int kWait = 30000;

QByteArray pmsg(const QString& to, const QString& text) {
    return "PMSG|\xbf|" + Windows1252::encode(to) + "|\xbf|" + Windows1252::encode(text);
}

// A port in the range users may type that nothing listens on now.
quint16 freePort() {
    for (quint16 p = quint16(20000 + QRandomGenerator::global()->bounded(20000));; ++p) {
        QTcpServer probe;
        if (probe.listen(QHostAddress::Any, p))
            return p;
    }
}

QByteArray padded(QByteArray bytes) {
    bytes.append(QByteArray(1028 - bytes.size() % 1028, '\0'));
    return bytes;
}

// A member signed on to a scripted chat server, the LOGIN taken off the wire. The room's window is
// left out: its view hands private lines, offers and declines to the private windows.
struct Member : ChatRoomView {
    TestServices t;
    Services services = t.services();
    ScriptedChatServer server;
    ChatSession session;
    QWidget windows;
    PrivateChat chat{session, services, windows};
    ChatDispatcher dispatcher{session, services, *this};
    bool ready = false;

    explicit Member(const QString& name) {
        QObject::connect(&session, &ChatSession::readArrived, &windows,
                         [this](const QString& read) { dispatcher.handleRead(read); });
        session.setNickname(name);
        session.setPassword(u"1234"_s);
        session.setServerAddress(u"127.0.0.1"_s, server.port());
        session.signOn();
        ready = QTest::qWaitFor([this] { return server.hasClient() && session.isConnected(); }, 5000) &&
                server.waitForReceived(qsizetype(("LOGIN|\xbf|" + name.toLatin1() + "|\xbf|1234").size()));
        server.take();
    }
    bool deliver(const QByteArray& read) { return server.deliver(session, read); }
    QByteArray sentSoFar() { return server.takeSentBy(session); }

    void appendLine(const QString&, qint64) override {}
    qint64 actionLineColour() const override { return 0; }
    qint64 messageLineColour() const override { return 0; }
    void showDisplayBeforePrompt() override {}
    void runEmoticonPass() override {}
    void removeGreeting() override {}
    bool soundsOn() const override { return false; }
    void accountAnswered(bool) override {}
    void connectionEnded() override {}
    std::optional<FollowTarget> currentGame() override { return std::nullopt; }
    void followInto(const FollowTarget&) override {}
    void showIdentification(const QString&, const QStringList&) override {}
    void privateLineArrived(const QString& sender, const QString& bracketedSender, const QString& line) override {
        chat.lineArrived(sender, bracketedSender, line);
    }
    void fileOffered(const QString& sender, const QString& file, const QString& port,
                     const QString& address) override {
        chat.offerReceived(sender, file, port, address);
    }
    void declineReceived(const QString& sender) override { chat.declineReceived(sender); }
};

// ann and bob, signed on to their own scripted servers; ann has a private window open for bob.
struct Members {
    Member ann{u"ann"_s};
    Member bob{u"bob"_s};
    QTemporaryDir downloads;
    Form3* a = nullptr;

    Members() {
        a = ann.chat.openPrivateWindow(u"bob"_s);
        bob.session.setDownloadFolder(downloads.path());
    }
    bool ready() const { return ann.ready && bob.ready && a; }

    // ann chooses "Send File" and answers the dialogs; returns what she sent on the chat connection.
    QByteArray offer(const QString& path, const QString& portAnswer) {
        ann.t.prompts.files.push_back(path);
        ann.t.prompts.inputs.push_back(portAnswer);
        a->mnuSNDFile_Click();
        return ann.sentSoFar();
    }
    // The offer as the chat server relays it to bob, with ann's address added.
    bool relayOffer(const QString& path, quint16 port) {
        return bob.deliver("PMSG|\xbf|<ann> /SENDFILE " + Windows1252::encode(path) + "|@|" +
                           QByteArray::number(port) + "|@|127.0.0.1\r\n");
    }
    Path* offerDialog(int i) const { return bob.chat.offerDialog(i); }
    Form11& bobTransfers() { return bob.chat.transferWindow(); }
};

// Plays a sending client by hand: answers INFO and SEND with whatever the test scripts.
struct RawSender {
    QTcpServer server;
    QPointer<QTcpSocket> peer;
    QByteArray received;
    RawSender() {
        server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server, &QTcpServer::newConnection, [this] {
            peer = server.nextPendingConnection();
            QObject::connect(peer, &QTcpSocket::readyRead, [this] { received += peer->readAll(); });
        });
    }
    void send(const QByteArray& bytes) {
        peer->write(bytes);
        peer->flush();
    }
};
} // namespace

class PrivateChatTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() {
        m = std::make_unique<Members>();
        QVERIFY(m->ready());
    }
    void cleanup() { m.reset(); }

    void transfers_data() {
        QTest::addColumn<int>("size");
        for (int size : {0, 1, 1027, 1028, 2056, 1000000})
            QTest::addRow("%d bytes", size) << size;
    }

    void transfers() {
        QFETCH(int, size);
        QTemporaryDir source;
        const QString path = source.filePath(u"data.bin"_s);
        QByteArray bytes(size, Qt::Uninitialized);
        QRandomGenerator::global()->fillRange(reinterpret_cast<quint32*>(bytes.data()), size / 4);
        QVERIFY(writeBytes(path, bytes));
        // A file of the same name in the download folder is replaced.
        const QString saved = m->downloads.filePath(u"data.bin"_s);
        QVERIFY(writeBytes(saved, QByteArray(5000, 'x')));

        const quint16 port = freePort();
        QCOMPARE(m->offer(path, QString::number(port)),
                 pmsg("bob", "/SENDFILE|@|" + path + "|@|" + QString::number(port)));
        QVERIFY(m->a->rtb->toPlainText().endsWith(u"\n<ann> Trying to send "_s + path));
        QVERIFY(m->ann.chat.transferWindow().isVisible());
        QVERIFY(m->relayOffer(path, port));
        Path* dialog = m->offerDialog(0);
        QVERIFY(dialog && dialog->isVisible());
        QCOMPARE(dialog->Text2->toPlainText(),
                 u"Info : ann Would Like To Send You "_s + path + u" Will You Accept?"_s);
        dialog->Command1->click();

        QTRY_VERIFY_WITH_TIMEOUT(!m->bob.t.prompts.shown.isEmpty(), kWait);
        QCOMPARE(m->bob.t.prompts.lines(), QStringList{u"Quorvel|File Transfer Complete|1"_s});
        QCOMPARE(readBytes(saved), padded(bytes));
        QCOMPARE(m->ann.t.prompts.lastLine(), u"Complete...|File Transfer Complete - "_s + path + u"|0"_s);
        Form3* b = m->bob.chat.privateWindow(1);
        QVERIFY(b && b->isVisible() && b->windowTitle() == u"Chat With <ann>"_s);
        // Both frames are reset once the receiver has closed; ann's window can send again.
        QCOMPARE(m->bobTransfers().status(Direction::Download), u"Disconnected..."_s);
        QCOMPARE(m->bobTransfers().count(Direction::Download), 0);
        Form11& annTransfers = m->ann.chat.transferWindow();
        QTRY_COMPARE_WITH_TIMEOUT(annTransfers.status(Direction::Upload), u"Disonnected..."_s, kWait);
        QCOMPARE(annTransfers.path(Direction::Upload), QString());
        QVERIFY(!m->a->sender().uploadBusy());
    }

    // clang-format off
    void rawSenderOutcomes_data() {
        // outcome: "%1" stands for the saved file's path
        // ending: sent after the blocks (none: the sender hangs up); savedTail: the part of it saved as data
        addColumns<QByteArray, int, QByteArray, QByteArray, QString, QString>("size", "blocks", "ending", "savedTail", "outcome", "status");
        const QString suspect = u"Quorvel|File Transfer - Posible Error - Check %1|3"_s;
        const QString complete = u"Quorvel|File Transfer Complete|1"_s;
        QTest::newRow("sender dies half way") << QByteArray("5000") << 1 << QByteArray() << QByteArray() << suspect << "Disconnected...";
        QTest::newRow("more than announced") << QByteArray("10") << 3 << QByteArray("DONE") << QByteArray() << complete << "Disconnected...";
        QTest::newRow("a read whose first field is DONE") << QByteArray("10") << 2 << QByteArray("DONE|@|hhhh") << QByteArray() << complete << "Disconnected...";
        QTest::newRow("a read that only starts with DONE") << QByteArray("10") << 1 << QByteArray("DONEx|@|") << QByteArray("DONEx|@|") << complete << "Disconnected...";
        QTest::newRow("huge size, then gone") << QByteArray("99999999999999999999") << 1 << QByteArray() << QByteArray() << suspect << "Disconnected...";
        // Nobody listens: the error event reports, with its own titles, on the counts the frame holds.
        QTest::newRow("connection refused") << QByteArray() << -1 << QByteArray() << QByteArray() << u"Complete...|File Transfer Complete|0"_s << "disconnected...";
    }
    // clang-format on

    void rawSenderOutcomes() {
        auto [size, blocks, ending, savedTail, outcome, status] =
            fetchRow<QByteArray, int, QByteArray, QByteArray, QString, QString>("size", "blocks", "ending",
                                                                                "savedTail", "outcome", "status");
        RawSender sender;
        const quint16 port = blocks < 0 ? freePort() : sender.server.serverPort();
        QVERIFY(m->relayOffer(QStringLiteral(R"(C:\Games\half.bin)"), port));
        m->offerDialog(0)->Command1->click();
        QByteArray expected = "INFO";
        for (int i = 0; i <= blocks; ++i) {
            QTRY_COMPARE_WITH_TIMEOUT(sender.received, expected, kWait);
            sender.send(i == 0 ? R"(INFO|@|C:\Games\half.bin|@|)" + size : QByteArray(1028, 'h'));
            expected += i == 0 ? "SEND" : "MORE";
        }
        if (blocks >= 0) {
            QTRY_COMPARE_WITH_TIMEOUT(sender.received, expected, kWait);
            if (!ending.isEmpty())
                sender.send(ending);
            if (!savedTail.isEmpty())
                QTRY_COMPARE_WITH_TIMEOUT(sender.received, expected + "MORE", kWait);
            if (ending.isEmpty() || !savedTail.isEmpty())
                sender.peer->abort();
        }
        const QString saved = m->downloads.filePath(u"half.bin"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m->bob.t.prompts.lastLine(), outcome.arg(saved), kWait);
        QCOMPARE(m->bob.t.prompts.shown.size(), 1);
        QCOMPARE(readBytes(saved), blocks < 0 ? QByteArray("<missing>") : QByteArray(1028 * blocks, 'h') + savedTail);
        QCOMPARE(m->bobTransfers().status(Direction::Download), status);
        QCOMPARE(m->bobTransfers().count(Direction::Download), 0);
        QVERIFY(!m->bob.chat.privateWindow(1)->receiver().isBusy());
    }

    void savingFailsEndsTheTransfer_data() {
        addColumns<int, qint64>("blocks", "fileLimit");
        QTest::newRow("disk full half way") << 30 << qint64(4096);
        QTest::newRow("last blocks do not fit") << 3 << qint64(2048);
    }

    // A disk that fills up during a download: the transfer ends with the reason, never as complete.
    void savingFailsEndsTheTransfer() {
#ifndef Q_OS_UNIX
        QSKIP("needs a limit on file sizes");
#else
        auto [blocks, fileLimit] = fetchRow<int, qint64>("blocks", "fileLimit");
        RawSender sender;
        QVERIFY(m->relayOffer(QStringLiteral(R"(C:\Games\big.bin)"), sender.server.serverPort()));
        m->offerDialog(0)->Command1->click();
        QTRY_COMPARE_WITH_TIMEOUT(sender.received, QByteArray("INFO"), kWait);
        // From here this process may write no file beyond fileLimit bytes, as on a nearly full disk.
        rlimit normal;
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &normal), 0);
        rlimit nearlyFull = normal;
        nearlyFull.rlim_cur = rlim_t(fileLimit);
        std::signal(SIGXFSZ, SIG_IGN);
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &nearlyFull), 0);
        const auto restore = qScopeGuard([&] {
            setrlimit(RLIMIT_FSIZE, &normal);
            std::signal(SIGXFSZ, SIG_DFL);
        });
        QByteArrayList messages{"INFO|@|C:\\Games\\big.bin|@|" + QByteArray::number(1028 * blocks)};
        for (int i = 0; i < blocks; ++i)
            messages.append(QByteArray(1028, 'h'));
        messages.append("DONE");
        QByteArray expected = "INFO";
        for (const QByteArray& message : messages) {
            if (sender.peer->state() != QAbstractSocket::ConnectedState)
                break;
            sender.send(message);
            if (message != "DONE")
                expected += expected == "INFO" ? "SEND" : "MORE";
            QTRY_VERIFY_WITH_TIMEOUT(sender.received == expected ||
                                         sender.peer->state() != QAbstractSocket::ConnectedState,
                                     kWait);
        }
        const QString saved = m->downloads.filePath(u"big.bin"_s);
        QTRY_VERIFY_WITH_TIMEOUT(!m->bob.t.prompts.shown.isEmpty(), kWait);
        QCOMPARE(m->bob.t.prompts.shown.size(), 1);
        QCOMPARE(m->bob.t.prompts.last().icon, Prompts::Icon::Exclamation);
        // The system's reason, not "Unknown error": a write cut short at the limit gives none of its own.
        QCOMPARE(m->bob.t.prompts.last().text, u"Unable to save "_s + saved + u": File too large"_s);
        QCOMPARE(m->bob.sentSoFar(),
                 pmsg("ann", "Could not save big.bin: File too large. The transfer was stopped."));
        QTRY_VERIFY_WITH_TIMEOUT(sender.peer->state() != QAbstractSocket::ConnectedState, kWait);
        QVERIFY(QFileInfo(saved).size() <= fileLimit);
        QCOMPARE(m->bobTransfers().status(Direction::Download), u"disconnected..."_s);
        QVERIFY(!m->bob.chat.privateWindow(1)->receiver().isBusy());
#endif
    }

    // A download folder that is gone is made again; one that cannot be made is reported to both ends.
    void missingDownloadFolder_data() {
        addColumns<bool>("fileInTheWay");
        QTest::newRow("made on the way") << false;
        QTest::newRow("a file in the way") << true;
    }

    void missingDownloadFolder() {
        QFETCH(bool, fileInTheWay);
        const QString folder = m->downloads.filePath(u"new/sub"_s);
        if (fileInTheWay)
            QVERIFY(writeBytes(m->downloads.filePath(u"new"_s), "x"));
        m->bob.session.setDownloadFolder(folder);
        RawSender sender;
        QVERIFY(m->relayOffer(QStringLiteral(R"(C:\Games\half.bin)"), sender.server.serverPort()));
        QCOMPARE(m->offerDialog(0)->Text1->text(), folder);
        m->offerDialog(0)->Command1->click();
        QTRY_COMPARE_WITH_TIMEOUT(sender.received, QByteArray("INFO"), kWait);
        sender.send(R"(INFO|@|C:\Games\half.bin|@|4)");
        if (!fileInTheWay) {
            QTRY_COMPARE_WITH_TIMEOUT(sender.received, QByteArray("INFOSEND"), kWait);
            QVERIFY(QFileInfo(folder + u"/half.bin"_s).isFile());
            return;
        }
        QTRY_COMPARE_WITH_TIMEOUT(m->bob.t.prompts.lastLine(),
                                  u"Quorvel|Unable to save "_s + folder + u"/half.bin: Not a directory|2"_s,
                                  kWait);
        QCOMPARE(m->bob.sentSoFar(),
                 pmsg("ann", "Could not save half.bin: Not a directory. Nothing was received."));
        QTRY_VERIFY_WITH_TIMEOUT(sender.peer->state() != QAbstractSocket::ConnectedState, kWait);
    }

    void hostileDescriptionsWriteNothing_data() {
        QTest::addColumn<QByteArray>("description");
        QTest::newRow("parent folder") << QByteArray(R"(INFO|@|C:\x\..|@|10)");
        QTest::newRow("up by slashes") << QByteArray("INFO|@|../../etc/passwd/..|@|10");
        QTest::newRow("no name") << QByteArray(R"(INFO|@|C:\dir\|@|10)");
        QTest::newRow("bare INFO") << QByteArray("INFO");
    }

    void hostileDescriptionsWriteNothing() {
        QFETCH(QByteArray, description);
        RawSender sender;
        QVERIFY(m->relayOffer(u"x"_s, sender.server.serverPort()));
        m->offerDialog(0)->Command1->click();
        QTRY_COMPARE_WITH_TIMEOUT(sender.received, QByteArray("INFO"), kWait);
        sender.send(description);
        QTRY_VERIFY_WITH_TIMEOUT(!m->bob.t.prompts.shown.isEmpty(), kWait);
        QCOMPARE(m->bob.t.prompts.last().icon, Prompts::Icon::Exclamation);
        QVERIFY(m->bob.t.prompts.last().text.endsWith(
            u"has no name that can be saved here. Nothing was written."_s));
        QTRY_VERIFY_WITH_TIMEOUT(!sender.peer || sender.peer->state() != QAbstractSocket::ConnectedState,
                                 kWait);
        QCOMPARE(sender.received, QByteArray("INFO")); // no SEND
        QCOMPARE(QDir(m->downloads.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList());
        QCOMPARE(QDir(m->downloads.path() + u"/.."_s).entryList({u"passwd"_s}), QStringList());
    }

    // A file that fails part way (here this process's memory, whose first page is never mapped) is
    // not sent as complete: the sender says why and hangs up before a block goes out.
    void unreadableFileEndsTheSend() {
#ifndef Q_OS_LINUX
        QSKIP("needs /proc/self/mem");
#else
        const quint16 port = freePort();
        m->offer(u"/proc/self/mem"_s, QString::number(port));
        QTcpSocket receiver;
        QByteArray got;
        connect(&receiver, &QTcpSocket::readyRead, [&] { got += receiver.readAll(); });
        receiver.connectToHost(QHostAddress::LocalHost, port);
        QVERIFY(receiver.waitForConnected(kWait));
        receiver.write("INFO");
        QTRY_VERIFY_WITH_TIMEOUT(got.startsWith("INFO|@|/proc/self/mem|@|"), kWait);
        got.clear();
        receiver.write("SEND");
        QTRY_COMPARE_WITH_TIMEOUT(receiver.state(), QAbstractSocket::UnconnectedState, kWait);
        QCOMPARE(got, QByteArray());
        QCOMPARE(m->ann.t.prompts.lastLine(),
                 u"Quorvel|Unable to read /proc/self/mem: Input/output error|2"_s);
#endif
    }

    void senderWireAndMergedAnswers() {
        QTemporaryDir source;
        const QString path = source.filePath(u"two.bin"_s);
        const QByteArray bytes = QByteArray(1028, 'a') + QByteArray(1028, 'b');
        QVERIFY(writeBytes(path, bytes));
        const quint16 port = freePort();
        m->offer(path, QString::number(port));

        QTcpSocket receiver;
        QByteArray got;
        connect(&receiver, &QTcpSocket::readyRead, [&] { got += receiver.readAll(); });
        auto say = [&](const QByteArray& text, qsizetype expected) {
            got.clear();
            receiver.write(text);
            receiver.flush();
            return QTest::qWaitFor([&] { return got.size() >= expected; }, kWait);
        };
        receiver.connectToHost(QHostAddress::LocalHost, port);
        QVERIFY(receiver.waitForConnected(kWait));
        QTRY_VERIFY_WITH_TIMEOUT(!m->a->sender().isListening(), kWait); // one peer per offer
        const QByteArray description = "INFO|@|" + Windows1252::encode(path) + "|@|2056";
        QVERIFY(say("INFO", description.size()));
        QCOMPARE(got, description);
        QVERIFY(say("SEND", 1028));
        QCOMPARE(got, QByteArray(1028, 'a'));
        // Two answers in one read are not recognised: the next reply is the description, not a block.
        QVERIFY(say("MOREMORE", 0));
        QVERIFY(say("INFO", description.size()));
        QCOMPARE(got, description);
        QVERIFY(say("MORE", 1028));
        QCOMPARE(got, QByteArray(1028, 'b'));
        QVERIFY(say("MORE", 1028));
        QCOMPARE(got, QByteArray(1028, '\0'));
        // The last answer brings the box and, once dismissed, "DONE".
        QVERIFY(say("MORE", 4));
        QCOMPARE(got, QByteArray("DONE"));
        QCOMPARE(m->ann.t.prompts.lastLine(), u"Complete...|File Transfer Complete - "_s + path + u"|0"_s);
        QCOMPARE(m->ann.chat.transferWindow().count(Direction::Upload), 3 * 1028);
    }

    void portAnswers_data() {
        addColumns<QStringList, bool, int, bool>("answers", "connected", "refusals", "listening");
        // "free" stands for a free port; an empty answer ends the attempt.
        QTest::newRow("9, then empty") << QStringList{"9", ""} << true << 1 << false;
        QTest::newRow("empty") << QStringList{""} << true << 0 << false;
        QTest::newRow("9, then a free port") << QStringList{"9", "free"} << true << 1 << true;
        QTest::newRow("chat connection down") << QStringList{"free"} << false << 0 << true;
    }

    void portAnswers() {
        auto [answers, connected, refusals, listening] =
            fetchRow<QStringList, bool, int, bool>("answers", "connected", "refusals", "listening");
        if (!connected) {
            m->ann.server.dropClient();
            QTRY_VERIFY_WITH_TIMEOUT(!m->ann.session.isConnected(), kWait);
        }
        FakePrompts& prompts = m->ann.t.prompts;
        m->ann.t.random.values = {100, 9999, 1234};
        prompts.files.push_back(u"/tmp/file.bin"_s);
        for (const QString& a : answers)
            prompts.inputs.push_back(a == u"free" ? QString::number(freePort()) : a);
        m->a->mnuSNDFile_Click();

        QCOMPARE(prompts.shown.first().line(), u"Select a File To Send.|All Files|0"_s);
        QStringList proposed;
        for (const auto& s : prompts.shown) {
            if (s.kind == u"input") {
                QCOMPARE(s.line(),
                         u"PORT|Select a port... Must allow connections through firewall/router...|0"_s);
                proposed.append(s.proposed);
            }
        }
        // A new default each time, drawn from 200 to 5199.
        QCOMPARE(proposed, (QStringList{"200", "5199", "1234"}.mid(0, proposed.size())));
        QCOMPARE(prompts.texts().count(u"Unusable Port"_s), refusals);

        QCOMPARE(m->a->sender().isListening(), listening);
        QCOMPARE(m->a->sender().uploadBusy(), listening);
        QCOMPARE(m->ann.chat.transferWindow().isVisible(), listening && connected);
        if (connected)
            QCOMPARE(m->ann.sentSoFar().startsWith("PMSG|\xbf|bob|\xbf|/SENDFILE|@|/tmp/file.bin|@|"),
                     listening);

        // While an offer is pending a second "Send File" does nothing at all.
        const qsizetype before = prompts.shown.size();
        m->a->mnuSNDFile->trigger();
        QCOMPARE(prompts.shown.size() == before, listening);
        m->a->Winsock1_Close();
        QVERIFY(!m->a->sender().isListening());
    }

    void declines_data() {
        QTest::addColumn<bool>("refuseAll");
        QTest::newRow("by hand") << false;
        QTest::newRow("Refuse File Transfers") << true;
    }

    void declines() {
        QFETCH(bool, refuseAll);
        const quint16 port = freePort();
        m->offer(u"/tmp/a.zip"_s, QString::number(port));
        QVERIFY(m->a->sender().isListening());
        m->bob.session.setRefusesFiles(refuseAll);
        QVERIFY(m->relayOffer(u"/tmp/a.zip"_s, port));
        if (!refuseAll) {
            m->offerDialog(0)->chooseFolder(QDir::tempPath());
            m->offerDialog(0)->Command2->click();
        }
        QCOMPARE(m->offerDialog(0) && m->offerDialog(0)->isVisible(), false);
        QCOMPARE(m->bob.sentSoFar(), pmsg("ann", "/SENDDECLINE"));
        QCOMPARE(m->bob.t.prompts.shown.size(), 0);
        // Changing the folder counts even when the offer is then refused.
        QCOMPARE(QDir(m->bob.session.downloadFolder()) == QDir(QDir::tempPath()), !refuseAll);

        QVERIFY(m->ann.deliver("PMSG|\xbf|<bob> /SENDDECLINE\r\n"));
        QCOMPARE(m->ann.t.prompts.lastLine(), u"Declined|Transfer Declined...|0"_s);
        QVERIFY(!m->a->sender().isListening() && !m->a->sender().uploadBusy());
        QCOMPARE(m->ann.chat.transferWindow().status(Direction::Upload), u"Disonnected..."_s);
    }

    void offerDialogs() {
        QVERIFY(m->relayOffer(u"/a"_s, 2000));
        QVERIFY(m->relayOffer(u"/b"_s, 2001));
        QVERIFY(m->offerDialog(0) && m->offerDialog(1));
        // It is a dialog to assistive technology, and neither the close box nor Escape can dismiss
        // an unanswered offer.
        QCOMPARE(QAccessible::queryAccessibleInterface(m->offerDialog(0))->role(), QAccessible::Dialog);
        QVERIFY(!m->offerDialog(0)->close());
        QTest::keyClick(m->offerDialog(0), Qt::Key_Escape);
        QVERIFY(m->offerDialog(0)->isVisible());
        m->offerDialog(0)->Command2->click();
        QTRY_VERIFY_WITH_TIMEOUT(!m->offerDialog(0), kWait); // answered dialogs are unloaded
        QVERIFY(m->relayOffer(u"/c"_s, 2002));
        QCOMPARE(m->offerDialog(0)->offerPort, u"2002"_s);
        // With all 51 dialogs waiting, further offers are refused without a word.
        for (int i = 2; i < PrivateChat::OfferDialogs; ++i)
            QVERIFY(m->relayOffer(u"/d"_s, 3000));
        QVERIFY(m->offerDialog(50)->isVisible());
        m->bob.sentSoFar();
        QVERIFY(m->relayOffer(u"/e"_s, 3001));
        QCOMPARE(m->bob.sentSoFar(), pmsg("ann", "/SENDDECLINE"));
        QCOMPARE(m->bob.t.prompts.shown.size(), 0);
    }

    void transferWindowActsOnThePrimaryWindow() {
        m->offer(u"/tmp/a.zip"_s, QString::number(freePort()));
        Form11& w = m->ann.chat.transferWindow();
        QVERIFY(w.isVisible());
        // An empty range would make an idle bar a busy animation.
        QCOMPARE(w.findChild<QProgressBar*>(u"pbDownload"_s)->maximum(), 1);
        // The buttons act on the primary private window, not on the window that made the offer.
        w.findChild<QPushButton*>(u"cmdUploadCancel"_s)->click();
        QCOMPARE(w.status(Direction::Upload), u"Disonnected..."_s);
        QVERIFY(m->a->sender().isListening() && m->a->sender().uploadBusy());
        w.findChild<QPushButton*>(u"cmdDownloadCancel"_s)->click();
        QCOMPARE(m->ann.t.prompts.lastLine(), u"Quorvel|File Transfer Complete|1"_s);
        QCOMPARE(w.status(Direction::Download), u"Disconnected..."_s);
        w.close();
        QVERIFY(m->a->sender().isListening());
        // "/cancel" in the offering window is what ends its offer.
        m->a->Text1->setText(u"/cancel"_s);
        QTest::keyClick(m->a->Text1, Qt::Key_Return);
        QVERIFY(!m->a->sender().isListening() && !m->a->sender().uploadBusy());
    }

    // clang-format off
    void typedLines_data() {
        addColumns<QString, bool, QByteArray, QString, QString>("typed", "connected", "wire", "conversation", "prompt");
        const QString start = u"\n<bob> hello"_s;
        QTest::newRow("line") << "hi" << true << pmsg("bob", "hi") << start + "\n<ann> hi" << "";
        QTest::newRow("empty") << "" << true << QByteArray() << start << "";
        QTest::newRow("chat down") << "hi" << false << QByteArray() << start << "";
        QTest::newRow("/cancel") << "/cancel" << true << QByteArray() << start << "Quorvel|File Transfer Complete|1";
        QTest::newRow("/Cancel") << "/Cancel" << true << QByteArray() << start << "Quorvel|File Transfer Complete|1";
        QTest::newRow("/cancel now") << "/cancel now" << true << pmsg("bob", "/cancel now") << start + "\n<ann> /cancel now" << "";
    }
    // clang-format on

    void typedLines() {
        auto [typed, connected, wire, conversation, prompt] =
            fetchRow<QString, bool, QByteArray, QString, QString>("typed", "connected", "wire",
                                                                  "conversation", "prompt");
        QVERIFY(m->ann.deliver("PMSG|\xbf|<bob> hello\r\n"));
        if (!connected) {
            m->ann.server.dropClient();
            QTRY_VERIFY_WITH_TIMEOUT(!m->ann.session.isConnected(), kWait);
        }
        m->a->Text1->setText(typed);
        QTest::keyClick(m->a->Text1, Qt::Key_Return);
        QCOMPARE(m->a->Text1->text(), QString());
        QCOMPARE(m->a->rtb->toPlainText(), conversation);
        QCOMPARE(m->ann.t.prompts.lastLine(), prompt);
        if (connected)
            QCOMPARE(m->ann.sentSoFar(), wire);
    }

    void inputLineGuardAndKeys() {
        QTest::keyClicks(m->a->Text1, u"say /WHOYOU"_s);
        QCOMPARE(m->a->Text1->text(), u"say /whoyou"_s);
        m->a->Text1->setText(u"/WhoYou"_s);
        QCOMPARE(m->a->Text1->text(), u"/WhoYou"_s);
        m->a->Text1->clear();
        // Typing in the conversation goes to the input line; Ctrl+C stays.
        QTest::keyClick(m->a->rtb, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(m->a->Text1->text(), QString());
        QTest::keyClicks(m->a->rtb, u"ok"_s);
        QCOMPARE(m->a->Text1->text(), u"ok"_s);
        m->a->rtb->setPlainText(u"x"_s);
        m->a->mnuClearPersonalChat->trigger();
        QCOMPARE(m->a->rtb->toPlainText(), QString());
    }

    void closedWindowComesBackWithALine() {
        Member& c = m->bob;
        QVERIFY(c.deliver("PMSG|\xbf|<carl> one\r\n"));
        Form3* w = c.chat.privateWindow(1);
        QVERIFY(w && w->isVisible());
        w->close();
        QVERIFY(c.deliver("PMSG|\xbf|<carl> two\r\n"));
        QVERIFY(w->isVisible());
        QCOMPARE(w->rtb->toPlainText(), u"\n<carl> one\n<carl> two"_s);
    }

    // echo: what the sender's own window with the peer shows afterwards.
    void composerLines_data() {
        addColumns<QString, QByteArray, QString>("text", "wire", "echo");
        const QByteArray a = pmsg("bob", "a\r\n"), b = pmsg("bob", "b\r\n"), empty = pmsg("bob", "\r\n");
        QTest::newRow("two lines") << "a\nb" << a + b << "\n<ann> a\n<ann> b";
        QTest::newRow("trailing line break") << "a\nb\n" << a + b + empty << "\n<ann> a\n<ann> b\n<ann> ";
        QTest::newRow("empty line between") << "a\n\nb" << a + empty + b << "\n<ann> a\n<ann> \n<ann> b";
    }

    void composerLines() {
        auto [text, wire, echo] = fetchRow<QString, QByteArray, QString>("text", "wire", "echo");
        m->ann.session.addMember(u"carl"_s);
        m->ann.session.addMember(u"bob"_s);
        m->a->mnuSND->trigger();
        Form5* c = m->ann.chat.composer();
        QVERIFY(c && c->isVisible());
        // Everyone in the room to choose from, the window's peer chosen; the recipient cannot be typed.
        QTest::keyClick(c->Combo1, Qt::Key_X);
        QVERIFY(c->Combo1->count() == 2 && c->Combo1->itemText(0) == u"carl"_s);
        QCOMPARE(c->Combo1->currentText(), u"bob"_s);
        c->rtb->setPlainText(text);
        c->mnuSend->trigger();
        QVERIFY(c->isSending() && m->ann.server.waitForReceived(wire.size()));
        QTRY_VERIFY_WITH_TIMEOUT(c->Timer1->isActive(), kWait);
        QCOMPARE(m->ann.sentSoFar(), wire);
        QCOMPARE(m->a->rtb->toPlainText(), echo);
    }

    void composerCoolDown() {
        m->a->mnuSND->trigger();
        Form5* c = m->ann.chat.composer();
        c->rtb->setPlainText(u"x"_s);
        c->mnuSend->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(c->Timer1->isActive(), kWait);
        QCOMPARE(m->ann.sentSoFar(), pmsg("bob", "x\r\n"));
        c->mnuSend->trigger(); // cooling down: nothing
        QTRY_COMPARE_WITH_TIMEOUT(c->pbWaiting->value(), 5, kWait);
        QVERIFY(c->Frame1->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(!c->Timer1->isActive(), kWait);
        QVERIFY(!c->Frame1->isVisible() && c->pbSending->value() == 0);
        QCOMPARE(m->ann.sentSoFar(), QByteArray());
        // Ready again, and the frame stays hidden.
        c->mnuSend->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(c->Timer1->isActive(), kWait);
        QVERIFY(!c->Frame1->isVisible());
        QCOMPARE(m->ann.sentSoFar(), pmsg("bob", "x\r\n"));
    }

private:
    std::unique_ptr<Members> m; // ann and bob afresh for every test
};

QTEST_MAIN(PrivateChatTest)
#include "tst_privatechat.moc"
