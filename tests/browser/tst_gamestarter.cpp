#include "DataRows.h"
#include "FakeServices.h"
#include "ListTexts.h"
#include "ScriptedChatServer.h"
#include "TestFiles.h"

#include "browser/Form10.h"
#include "browser/GameStarter.h"
#include "browser/MasterListFetch.h"
#include "browser/StarterOptions.h"

#include <QtNetwork>
#include <QtTest>
#include <QtWidgets>

namespace {

using Icon = Prompts::Icon;
const QString None; // no prompt expected

QString line(const QString& text, Icon icon, const QString& title = QStringLiteral("Quorvel")) {
    return title + u'|' + text + u'|' + QString::number(int(icon));
}

QString pathError(const QString& game) {
    return line(
        QStringLiteral("It seems that the path to ") + game +
            QStringLiteral(" is either not correct,\r\ngame is not installed or this is a fresh install.\r\n"
                           "Please set the correct path(Goto menu, Options..) for ") +
            game + QStringLiteral("\r\nor ignore this if you don't have this game."),
        Icon::Exclamation);
}

// A browser on a temporary program folder; files ("\name" -> bytes) are put there before it loads.
struct Browser {
    explicit Browser(const QMap<QString, QByteArray>& files = {}) {
        for (auto it = files.begin(); it != files.end(); ++it)
            put(it.key(), it.value());
        w = std::make_unique<GameStarter>(t.services());
    }
    void put(const QString& name, const QByteArray& bytes) { writeBytes(t.file(name), bytes); }
    QByteArray bytes(const QString& name) const { return readBytes(t.file(name)); }

    void fields(const QString& name, const QString& address, const QString& port) {
        w->Text3->setText(name);
        w->Text2->setText(address);
        w->Text4->setText(port);
    }
    TestServices t;
    std::unique_ptr<GameStarter> w;
};

// Plays the master-list web server: answers each request with a canned body, and HEAD with a
// Content-Length of its own choosing; records the request lines.
class CannedHttp : public QObject {
public:
    QByteArray body;
    QByteArray headLength; // empty: no Content-Length in the HEAD answer
    QStringList requests;
    bool hold = false; // requests are recorded and left unanswered
    QList<QPointer<QTcpSocket>> held;

    bool heldWereDropped() const {
        return std::all_of(held.begin(), held.end(), [](const QPointer<QTcpSocket>& s) {
            return !s || s->state() == QAbstractSocket::UnconnectedState;
        });
    }

    quint16 start() {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* s = m_server.nextPendingConnection())
                connect(s, &QTcpSocket::readyRead, this, [this, s] { answer(s); });
        });
        return m_server.listen(QHostAddress::LocalHost, 0) ? m_server.serverPort() : 0;
    }

private:
    void answer(QTcpSocket* s) {
        m_pending[s] += s->readAll();
        if (!m_pending[s].contains("\r\n\r\n"))
            return;
        const QByteArray requestLine = m_pending.take(s).split('\r').first();
        requests.append(QString::fromLatin1(requestLine));
        if (hold) {
            held.append(s);
            return;
        }
        const bool head = requestLine.startsWith("HEAD ");
        QByteArray reply = "HTTP/1.1 200 OK\r\nConnection: close\r\n";
        if (!head)
            reply += "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
        else
            reply +=
                (headLength.isEmpty() ? QByteArray() : "Content-Length: " + headLength + "\r\n") + "\r\n";
        s->write(reply);
        s->disconnectFromHost();
    }
    QTcpServer m_server;
    QHash<QTcpSocket*, QByteArray> m_pending;
};

bool idle(const GameStarter& w) {
    return w.cmdQvlList->isEnabled() && !w.tmrFetch->isActive();
}

QMap<QString, QByteArray> hostSetting(quint16 port) {
    return {{QStringLiteral("\\Settings.ini"),
             "[Options]\r\nMasterListHost=http://127.0.0.1:" + QByteArray::number(port) + "/\r\n"}};
}

} // namespace

class GameStarterTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // clang-format off
    void gameChange_data() {
        // expected: path file, favourites file, exe, proposed file, frame
        addColumns<QString, int, QByteArray, QStringList>("game", "modIndex", "settings", "expected");
        QTest::newRow("Half-Life, Counter-Strike") << "Half-Life" << 1 << QByteArray() << QStringList{"\\halflife-path.qvl", "\\counterstrike-serverlist.qvl", "\\hl.exe", "hl.exe", "Frame1"};
        QTest::newRow("Kingpin, MM client on") << "Kingpin" << -1 << QByteArray("[Options]\r\nKingpinMMClient=1\r\n") << QStringList{"\\kingpin-path.qvl", "\\kingpin-serverlist.qvl", "\\mmclient.exe", "MMCLIENT.EXE", "Frame2"};
        QTest::newRow("Kingpin, no settings") << "Kingpin" << -1 << QByteArray() << QStringList{"\\kingpin-path.qvl", "\\kingpin-serverlist.qvl", "\\kingpin.exe", "KINGPIN.EXE", "Frame2"};
        QTest::newRow("RTCW") << "RTCW" << -1 << QByteArray() << QStringList{"\\rtcw-path.qvl", "\\rtcw-serverlist.qvl", "\\wolfmp.exe", "WolfMP.exe", "Frame3"};
    }
    // clang-format on
    void gameChange() {
        auto [game, modIndex, settings, expected] =
            fetchRow<QString, int, QByteArray, QStringList>("game", "modIndex", "settings", "expected");
        Browser b({{expected[0], "C:\\Games\\X\r\n"},
                   {expected[1], "A - 1.2.3.4 - 5\r\nB - c - 6\r\n"},
                   {QStringLiteral("\\Settings.ini"), settings}});
        GameStarter& w = *b.w;
        if (modIndex >= 0)
            w.findChild<QRadioButton*>(QStringLiteral("Option%1").arg(modIndex + 1))->setChecked(true);
        b.fields(QStringLiteral("n"), QStringLiteral("a"), QStringLiteral("1"));
        w.lstMasterServers->addItem(QStringLiteral("old"));
        w.lblMasterServers->setText(QStringLiteral("Master Servers : Kingpin"));

        w.setGameKey(game);
        QCOMPARE((QStringList{w.txtGameEXE->text(), w.proposedFileName()}), expected.mid(2, 2));
        QCOMPARE(w.options().Text1->text(), QStringLiteral("C:\\Games\\X"));
        QCOMPARE(itemTexts(w.lstServers), (QStringList{"A - 1.2.3.4 - 5", "B - c - 6"}));
        QVERIFY(w.lstMasterServers->count() == 0 &&
                w.lblMasterServers->text() == QStringLiteral("Master Servers :"));
        QCOMPARE(w.Text3->text() + w.Text2->text() + w.Text4->text(), QString());
        for (QGroupBox* f : {w.Frame1, w.Frame2, w.Frame3, w.Frame4})
            QCOMPARE(f->isVisibleTo(&w), f->objectName() == expected[4]);
        QCOMPARE(b.t.prompts.lines(), QStringList{pathError(game)});
        QCOMPARE(w.lblStatus->text(), QStringLiteral(" Path error!"));
    }

    void homeKeepsPathAndEmptiesLists() {
        QTemporaryDir games;
        QVERIFY(writeBytes(games.filePath(QStringLiteral("kp/Kingpin.exe")), "")); // found whatever its case
        const QString folder = QDir::toNativeSeparators(games.filePath(QStringLiteral("kp")));
        Browser b({{QStringLiteral("\\kingpin-path.qvl"), folder.toUtf8()},
                   {"\\kingpin-serverlist.qvl", "A - 1 - 2\r\n"}});
        GameStarter& w = *b.w;
        w.setGameKey(QStringLiteral("Kingpin"));
        QVERIFY(b.t.prompts.shown.isEmpty() && w.lblStatus->text().isEmpty());
        w.lstMasterServers->addItem(QStringLiteral("m"));

        w.setGameKey(QStringLiteral("*Home"));
        QCOMPARE(w.lstServers->count() + w.lstMasterServers->count(), 0);
        QCOMPARE(w.options().Text1->text(), folder);
        QVERIFY(w.Frame4->isVisibleTo(&w) && !w.Frame2->isVisibleTo(&w) && b.t.prompts.shown.isEmpty());
    }

    void mmClientSwitch() {
        const QByteArray other = "; mine\r\n[Other]\r\nKingpinMMClient=7\r\n[Options]\r\n";
        Browser b({{QStringLiteral("\\Settings.ini"), other + "KingpinMMClient=0\r\nExtra=\xe9\r\n"}});
        GameStarter& w = *b.w;
        w.setGameKey(QStringLiteral("Kingpin"));
        QVERIFY(!w.Check1->isChecked());
        QCOMPARE(w.txtGameEXE->text(), QStringLiteral("\\kingpin.exe"));

        w.txtGameEXE->setText(QStringLiteral("\\KINGPIN.EXE")); // replaced whatever its case
        w.Check1->click();
        QCOMPARE(w.txtGameEXE->text() + u' ' + w.proposedFileName(),
                 QStringLiteral("\\mmclient.exe mmclient.exe"));
        QCOMPARE(b.bytes(QStringLiteral("\\Settings.ini")), other + "KingpinMMClient=1\r\nExtra=\xe9\r\n");
        QCOMPARE(b.t.prompts.lastLine(), pathError(QStringLiteral("Kingpin")));

        w.Check1->click();
        QCOMPARE(w.txtGameEXE->text() + u' ' + w.proposedFileName(),
                 QStringLiteral("\\kingpin.exe kingpin.exe"));
        QCOMPARE(b.bytes(QStringLiteral("\\Settings.ini")), other + "KingpinMMClient=0\r\nExtra=\xe9\r\n");
        QVERIFY(w.Option5->isChecked());
    }

    // clang-format off
    void loadini_data() {
        // value: "path": the settings file's own path, cut to 49 characters
        addColumns<QByteArray, QString, QString>("settings", "value", "prompt");
        QTest::newRow("missing key") << QByteArray("[Options]\r\n") << "path" << None;
        QTest::newRow("empty value") << QByteArray("[Options]\r\nKingpinMMClient=\r\n") << "unchanged" << line(QStringLiteral("An error has occurred while calling the API function"), Icon::Exclamation);
    }
    // clang-format on
    void loadini() {
        auto [settings, value, prompt] =
            fetchRow<QByteArray, QString, QString>("settings", "value", "prompt");
        Browser b({{QStringLiteral("\\Settings.ini"), settings}});
        GameStarter& w = *b.w;
        b.t.prompts.shown.clear();
        w.IniSection = QStringLiteral("Options");
        w.IniKey = QStringLiteral("KingpinMMClient");
        w.IniValue = QStringLiteral("unchanged");
        w.loadini();
        if (value == u"path")
            value = QDir::toNativeSeparators(b.t.file(QStringLiteral("\\Settings.ini"))).left(49);
        QCOMPARE(w.IniValue, value);
        QCOMPARE(b.t.prompts.lastLine(), prompt);
    }

    // clang-format off
    void browseForPath_data() {
        // answer: to the Yes/No question, when asked
        addColumns<QString, QString, int, QString, bool>("game", "pathBefore", "answer", "status", "saved");
        QTest::newRow("no game") << "*Home" << "" << -1 << "" << false;
        QTest::newRow("path kept") << "Kingpin" << "C:\\KP" << int(Prompts::Answer::No) << " Path to Kingpin has not been changed" << false;
        QTest::newRow("path changed") << "Kingpin" << "C:\\KP" << int(Prompts::Answer::Yes) << " Saved the path to Kingpin" << true;
        QTest::newRow("first path") << "RTCW" << "" << -1 << " Saved the path to RTCW" << true;
    }
    // clang-format on
    void browseForPath() {
        auto [game, pathBefore, answer, status, saved] =
            fetchRow<QString, QString, int, QString, bool>("game", "pathBefore", "answer", "status", "saved");
        Browser b;
        GameStarter& w = *b.w;
        w.setGameKey(game);
        w.options().Text1->setText(pathBefore);
        b.t.prompts.shown.clear();
        if (answer >= 0)
            b.t.prompts.answers.push_back(Prompts::Answer(answer));
        QTemporaryDir games;
        const QString exe = games.filePath(QStringLiteral("Games/X/") + w.proposedFileName());
        writeBytes(exe, ""); // with no game chosen there is no file name, and nothing to write
        b.t.prompts.files.push_back(exe);

        w.options().cmdGetPath0->click();
        const QString folder = QDir::toNativeSeparators(QFileInfo(exe).path());
        const QString pathFile = game == u"RTCW" ? "\\rtcw-path.qvl" : "\\kingpin-path.qvl";
        QCOMPARE(b.bytes(pathFile), saved ? folder.toUtf8() + "\r\n" : QByteArray("<missing>"));
        QCOMPARE(w.options().Text1->text(), saved ? folder : pathBefore);
        QCOMPARE(w.lblStatus->text(), status);
        QStringList expected;
        if (game == u"*Home")
            expected.append(line(QStringLiteral("You must select a game first."), Icon::Exclamation));
        if (answer >= 0)
            expected.append(
                line(QStringLiteral("Are you sure you want to browse for Kingpin's exe? Click no if the "
                                    "path to Kingpin is already set and working!"),
                     Icon::Critical));
        if (saved) // the open-file dialog, with the game's file proposed
            expected.append(QStringLiteral("Half-Life Executable|Executables (*.exe *.EXE)|0"));
        QCOMPARE(b.t.prompts.lines(), expected);
        QVERIFY(!saved || b.t.prompts.last().proposed.endsWith(w.proposedFileName()));
    }

    void unsavableFilesAreReported_data() {
        addColumns<QString>("file");
        QTest::newRow("favourites") << QStringLiteral("\\kingpin-serverlist.qvl");
        QTest::newRow("game path") << QStringLiteral("\\kingpin-path.qvl");
    }

    // A file that cannot be written (here a folder is in its place) is reported, and the window does
    // not claim to have saved it.
    void unsavableFilesAreReported() {
        QFETCH(QString, file);
        Browser b;
        QVERIFY(QDir().mkpath(b.t.file(file)));
        GameStarter& w = *b.w;
        w.setGameKey(QStringLiteral("Kingpin"));
        b.t.prompts.shown.clear();
        if (file.endsWith(u"path.qvl")) {
            QTemporaryDir games;
            const QString exe = games.filePath(QStringLiteral("Games/KP/") + w.proposedFileName());
            writeBytes(exe, "");
            b.t.prompts.files.push_back(exe);
            w.options().cmdGetPath0->click();
        } else {
            b.fields(QStringLiteral("Srv"), QStringLiteral("10.0.0.1"), QStringLiteral("7777"));
            w.Command5->click();
        }
        QCOMPARE(b.t.prompts.lastLine(),
                 line(QStringLiteral("Unable to save ") + QDir::toNativeSeparators(b.t.file(file)) +
                          QStringLiteral(": Filename refers to a directory"),
                      Icon::Exclamation));
        QVERIFY(!w.lblStatus->text().contains(QStringLiteral("Saved")));
    }

    // clang-format off
    void addFavourite_data() {
        addColumns<QString, int, QString, QString, QString, QByteArray>("game", "modIndex", "port", "file", "prompt", "after");
        const QByteArray one = "Old - 1.1.1.1 - 1\r\n";
        const QByteArray two = one + "Srv - 10.0.0.1 - 7777\r\n";
        QTest::newRow("no game") << "*Home" << -1 << "7777" << "\\kingpin-serverlist.qvl" << line(QStringLiteral("You must select a game first."), Icon::Exclamation) << one;
        QTest::newRow("empty field") << "Kingpin" << -1 << "" << "\\kingpin-serverlist.qvl" << line(QStringLiteral("Please add infomation to all fields"), Icon::Information) << one;
        QTest::newRow("no mod") << "Half-Life" << -1 << "7777" << "\\half-life-serverlist.qvl" << line(QStringLiteral("Please select the type of Half-Life MOD first"), Icon::Exclamation) << one;
        QTest::newRow("Kingpin") << "Kingpin" << -1 << "7777" << "\\kingpin-serverlist.qvl" << None << two;
        QTest::newRow("Day of Defeat") << "Half-Life" << 2 << "7777" << "\\dod-serverlist.qvl" << None << two;
        QTest::newRow("duplicate kept once") << "RTCW" << -1 << "1" << "\\rtcw-serverlist.qvl" << None << one;
    }
    // clang-format on
    void addFavourite() {
        auto [game, modIndex, port, file, prompt, after] =
            fetchRow<QString, int, QString, QString, QString, QByteArray>("game", "modIndex", "port", "file",
                                                                          "prompt", "after");
        Browser b({{file, "Old - 1.1.1.1 - 1\r\n"}});
        GameStarter& w = *b.w;
        w.setGameKey(game);
        if (modIndex >= 0)
            w.findChild<QRadioButton*>(QStringLiteral("Option%1").arg(modIndex + 1))->click();
        b.t.prompts.shown.clear();
        if (port == u"1")
            b.fields(QStringLiteral("Old"), QStringLiteral("1.1.1.1"), port);
        else
            b.fields(QStringLiteral("Srv"), QStringLiteral("10.0.0.1"), port);
        w.Command5->click();
        w.Command4->click(); // the same handler: a second add changes nothing
        QCOMPARE(b.t.prompts.lastLine(), prompt);
        QCOMPARE(b.bytes(file), after);
        if (prompt == None)
            QCOMPARE(w.lstServers->count(), int(after.count('\n')));
    }

    void editRemoveAndDoubleClick() {
        Browser b({{QStringLiteral("\\kingpin-serverlist.qvl"), "A - 1 - 2\r\nB - 3 - 4\r\nC - 5 - 6\r\n"}});
        GameStarter& w = *b.w;
        w.setGameKey(QStringLiteral("Kingpin"));
        const QString file = QStringLiteral("\\kingpin-serverlist.qvl");
        w.lstServers->setCurrentRow(0);
        b.t.prompts.inputs = {std::nullopt, QString(), QStringLiteral("no separators")};
        for (int i = 0; i < 3; ++i)
            w.mnuEditServerDetails->trigger();
        QCOMPARE(b.t.prompts.last().line() + u'|' + b.t.prompts.last().proposed,
                 QStringLiteral("Edit|Enter server name/descriotion, IP and port\r\nlike \r\n"
                                "Server Description - 255.255.255.255 - 7777|0|A - 1 - 2"));
        QCOMPARE(b.bytes(file), QByteArray("no separators\r\nB - 3 - 4\r\nC - 5 - 6\r\n"));
        QCOMPARE(w.lstServers->currentRow(), 2); // saving leaves the last entry selected

        QSignalSpy joined(&w, &GameStarter::joinRequested);
        w.lstServers->setCurrentRow(1);
        emit w.lstServers->itemDoubleClicked(w.lstServers->currentItem());
        QCOMPARE(w.Text2->text(), QStringLiteral("3"));
        QCOMPARE(joined.count(), 1);

        QTest::keyClick(w.lstServers, Qt::Key_Delete);
        QCOMPARE(b.bytes(file), QByteArray("no separators\r\nC - 5 - 6\r\n"));
        w.mnuRemoveServer->trigger();
        w.lstServers->setCurrentRow(0);
        w.Command1->click();
        QCOMPARE(b.bytes(file), QByteArray());
        QTRY_COMPARE(w.lblFavorites->text(), QStringLiteral(" Favorites : Empty!"));

        w.setGameKey(QStringLiteral("*Home"));
        w.Command1->click();
        QCOMPARE(b.t.prompts.lastLine(),
                 line(QStringLiteral("Please select a game then a 'favorite server' to delete"),
                      Icon::Information));
    }

    // clang-format off
    void takeApart_data() {
        addColumns<QString, QStringList>("entry", "fields");
        QTest::newRow("three fields") << "Fred's Bar - 10.0.0.5 - 31510" << QStringList{"Fred's Bar", "10.0.0.5", "31510"};
        QTest::newRow("description with the separator") << "My - Server - 10.0.0.1 - 7777" << QStringList{"My", "Server", "10.0.0.1"};
        QTest::newRow("one field") << "Solo" << QStringList{"Solo", "y", "z"};
    }
    // clang-format on
    void takeApart() {
        auto [entry, fields] = fetchRow<QString, QStringList>("entry", "fields");
        Browser b;
        GameStarter& w = *b.w;
        for (QListWidget* list : {w.lstServers, w.lstMasterServers}) {
            b.fields(QStringLiteral("x"), QStringLiteral("y"), QStringLiteral("z"));
            list->addItem(entry);
            list->setCurrentRow(0);
            QCOMPARE((QStringList{w.Text3->text(), w.Text2->text(), w.Text4->text()}), fields);
            list->clear();
        }
    }

    // clang-format off
    void refusals_data() {
        addColumns<QString, QString, QStringList, QString>("button", "game", "fields", "prompt");
        const QStringList full{"S", "10.0.0.5", "27960"};
        const QString selectGame = line(QStringLiteral("Please select a game first"), Icon::Information);
        QTest::newRow("join, empty field before no game") << "Join" << "*Home" << QStringList{"S", "", "1"} << line(QStringLiteral("Cant join game server. Field(s) are empty!"), Icon::Information);
        QTest::newRow("join, letter in port before no game") << "Join" << "*Home" << QStringList{"S", "h", "27a"} << line(QStringLiteral("Enter numbers only !"), Icon::Critical);
        QTest::newRow("join, no game") << "Join" << "*Home" << full << selectGame;
        QTest::newRow("join, digits") << "Join" << "RTCW" << full << None;
        QTest::newRow("stats, Half-Life even when filled") << "Command7" << "Half-Life" << full << line(QStringLiteral("Getting stats of a Half-Life server not supported in this version."), Icon::Information);
        QTest::newRow("stats, no game") << "Command7" << "*Home" << full << selectGame;
        QTest::newRow("stats, no address") << "Command7" << "Kingpin" << QStringList{"S", "", "1"} << line(QStringLiteral("Enter a server to query"), Icon::Information, QStringLiteral("Server Required"));
        QTest::newRow("stats, handed over") << "Command7" << "Kingpin" << QStringList{"", "127.0.0.1", "1"} << None;
        QTest::newRow("fetch, no game") << "cmdQvlList" << "*Home" << full << selectGame;
        QTest::newRow("fetch, Half-Life without a mod") << "cmdQvlList" << "Half-Life" << full << line(QStringLiteral("Please choose a MOD to refresh servers on"), Icon::None);
    }
    // clang-format on
    void refusals() {
        auto [button, game, fields, prompt] =
            fetchRow<QString, QString, QStringList, QString>("button", "game", "fields", "prompt");
        Browser b;
        GameStarter& w = *b.w;
        w.setGameKey(game);
        b.fields(fields[0], fields[1], fields[2]);
        b.t.prompts.shown.clear();
        QSignalSpy joined(&w, &GameStarter::joinRequested);
        w.findChild<QPushButton*>(button)->click();
        QCOMPARE(b.t.prompts.lastLine(), prompt);
        QCOMPARE(joined.count(), button == u"Join" && prompt == None ? 1 : 0);
        QCOMPARE((QStringList{w.Text3->text(), w.Text2->text(), w.Text4->text()}), fields);
        QVERIFY(idle(w) && !w.fetchDialog());
    }

    // clang-format off
    void clipboard_data() {
        addColumns<bool, QString, QString>("favouriteSelected", "action", "copied");
        QTest::newRow("address") << true << "mnuCopyIPPort" << "Server : 10.0.0.5:31510";
        QTest::newRow("name and address") << true << "mnuCopyServerNameAddress" << "Server : Fred's Bar & Address : 10.0.0.5:31510";
        QTest::newRow("picked from the master list") << false << "mnuCopyIPPort" << "before";
    }
    // clang-format on
    void clipboard() {
        auto [favouriteSelected, action, copied] =
            fetchRow<bool, QString, QString>("favouriteSelected", "action", "copied");
        Browser b;
        GameStarter& w = *b.w;
        QListWidget* list = favouriteSelected ? w.lstServers : w.lstMasterServers;
        list->addItem(QStringLiteral("Fred's Bar - 10.0.0.5 - 31510"));
        list->setCurrentRow(0);
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        w.findChild<QAction*>(action)->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), copied);
    }

    void windowBasics() {
        Browser b;
        GameStarter& w = *b.w;
        // Kingpin's configuration files, in the desktop's editor.
        w.options().Text1->setText(QStringLiteral("/games/kp"));
        w.mnuEditKingpinAutoexec->trigger();
        w.mnuEditKingpinConfig->trigger();
#ifdef Q_OS_WIN
        QCOMPARE(b.t.desktop.started.size(), 2);
        QCOMPARE(b.t.desktop.started[1].program, QStringLiteral("notepad.exe"));
        QCOMPARE(b.t.desktop.started[1].arguments, QStringList{"/games/kp\\main\\config.cfg"});
#else
        QCOMPARE(b.t.desktop.opened,
                 (QStringList{"/games/kp/main/autoexec.cfg", "/games/kp/main/config.cfg"}));
#endif
        // The player name never holds a blank; the check box enables it.
        QVERIFY(!w.txtKPNAME->isEnabled());
        w.chkKPNAME->click();
        w.txtKPNAME->clear();
        QTest::keyClicks(w.txtKPNAME, QStringLiteral("Big Fred"));
        QCOMPARE(w.txtKPNAME->text(), QStringLiteral("BigFred"));

        // Every control can be found by its caption or the label beside it.
        for (QWidget* top : {static_cast<QWidget*>(&w), static_cast<QWidget*>(&w.options())}) {
            for (QWidget* c : top->findChildren<QWidget*>()) {
                if (c->isWindow() || c->objectName().isEmpty() || c->objectName().startsWith(u"qt_") ||
                    c->inherits("QGroupBox") || c->inherits("QMenu") || c->inherits("QMenuBar") ||
                    c->inherits("QLabel"))
                    continue;
                const auto* button = qobject_cast<QAbstractButton*>(c);
                QVERIFY2(!c->accessibleName().isEmpty() || (button && !button->text().isEmpty()),
                         qPrintable(c->objectName()));
            }
        }

        // Closing hides the browser and its options window.
        w.show();
        w.options().show();
        w.close();
        QVERIFY(!w.isVisible() && !w.options().isVisible());
    }

    // clang-format off
    void fetch_data() {
        addColumns<QString, QByteArray, QByteArray, QString, QStringList, QString, QString>("game", "body", "headLength", "file", "items", "status", "caption");
        const QByteArray two = "A - 10.0.0.1 - 31510\r\nB - 10.0.0.2 - 31511\r\n";
        const QStringList three{"A - 10.0.0.1 - 31510", "B - 10.0.0.2 - 31511", ""};
        QTest::newRow("two lines, three items, size from HEAD") << "Kingpin" << two << QByteArray("1234") << "\\qvllist-kingpin.qvl" << three << " Recived Master List : (1234)Bytes " << "Master Servers : Kingpin";
        QTest::newRow("RTCW leaves the status alone") << "RTCW" << two << QByteArray("1234") << "\\qvllist-rtcw.qvl" << three << "before" << "Master Servers : Castle Wolfenstein";
        QTest::newRow("empty body, no size") << "Half-Life" << QByteArray() << QByteArray() << "\\qvllist-dod.qvl" << QStringList{""} << " Recived Master List : ()Bytes " << "Master Servers : Half-Life / Day Of Defeat";
    }
    // clang-format on
    void fetch() {
        auto [game, body, headLength, file, items, status, caption] =
            fetchRow<QString, QByteArray, QByteArray, QString, QStringList, QString, QString>(
                "game", "body", "headLength", "file", "items", "status", "caption");
        CannedHttp http;
        http.body = body;
        http.headLength = headLength;
        Browser f(hostSetting(http.start()));
        GameStarter& w = *f.w;
        w.setGameKey(game);
        if (game == u"Half-Life")
            w.Option3->click();
        w.lblStatus->setText(QStringLiteral("before"));

        w.cmdQvlList->click();
        QVERIFY(!idle(w) && w.fetchDialog() && w.fetchDialog()->isVisible());
        QCOMPARE(w.fetchDialog()->windowTitle(), QStringLiteral("Fetching : Master Servers :"));
        QCOMPARE(QAccessible::queryAccessibleInterface(w.fetchDialog())->role(), QAccessible::Dialog);
        QTRY_VERIFY_WITH_TIMEOUT(idle(w), 20000);
        QVERIFY(!w.fetchDialog()->isVisible());
        QCOMPARE(itemTexts(w.lstMasterServers), items);
        QCOMPARE(w.lblMasterServers->text(), caption);
        QCOMPARE(f.bytes(file), body + "\r\n");
        const QString url = file.mid(1);
        QStringList requests{QStringLiteral("GET /quorvel/") + url + QStringLiteral(" HTTP/1.1")};
        if (game != u"RTCW")
            requests.append(QStringLiteral("HEAD /quorvel/") + url + QStringLiteral(" HTTP/1.1"));
        QTRY_COMPARE_WITH_TIMEOUT(w.lblStatus->text(), status, 20000);
        QCOMPARE(http.requests, requests);
    }

    // A list still on its way when the player picks another game or mod is dropped: it never reaches
    // the new game's list or any file.
    void fetchRacingAGameChange_data() {
        addColumns<QString>("change");
        QTest::newRow("another game") << "RTCW";
        QTest::newRow("another mod") << "Option4";
    }

    void fetchRacingAGameChange() {
        QFETCH(QString, change);
        CannedHttp http;
        http.body = "A - 10.0.0.1 - 31510\r\n";
        http.hold = true;
        Browser f(hostSetting(http.start()));
        GameStarter& w = *f.w;
        w.setGameKey(QStringLiteral("Half-Life"));
        w.Option3->click();
        w.cmdQvlList->click();
        QTRY_COMPARE_WITH_TIMEOUT(http.requests.size(), 1, 20000);
        if (change == u"Option4")
            w.Option4->click();
        else
            w.setGameKey(change);
        QVERIFY(idle(w) && !w.fetchDialog());
        QTRY_VERIFY_WITH_TIMEOUT(http.heldWereDropped(), 20000);
        QCOMPARE(w.lstMasterServers->count(), 0);
        QCOMPARE(QDir(f.t.dir.path()).entryList({QStringLiteral("qvllist-*")}), QStringList());
    }

    // A server that sends more than any master list could be is cut off instead of filling memory.
    void oversizedMasterListIsRefused() {
        CannedHttp http;
        http.body = QByteArray(MasterListFetch::MaxBodyBytes + 1, 'x');
        Browser f(hostSetting(http.start()));
        GameStarter& w = *f.w;
        w.setGameKey(QStringLiteral("Kingpin"));
        w.cmdQvlList->click();
        QTRY_VERIFY_WITH_TIMEOUT(w.fetchDialog()->lblError->isVisibleTo(w.fetchDialog()), 20000);
        QCOMPARE(w.fetchDialog()->lblError->text(),
                 QStringLiteral("The master list is larger than 16 MB; it was not fetched."));
        QCOMPARE(w.lstMasterServers->count(), 0);
        QCOMPARE(f.bytes(QStringLiteral("\\qvllist-kingpin.qvl")), QByteArray("<missing>"));
    }

    void unreachableHostWaitsForStop() {
        Browser f(hostSetting(closedLocalPort()));
        GameStarter& w = *f.w;
        w.setGameKey(QStringLiteral("Kingpin"));
        w.cmdQvlList->click();
        QTRY_VERIFY_WITH_TIMEOUT(w.fetchDialog()->lblError->isVisibleTo(w.fetchDialog()), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(w.lblStatus->text().startsWith(QStringLiteral(" Recived")), 20000);
        QSignalSpy ticks(w.tmrFetch, &QTimer::timeout); // ticks with an empty list change nothing
        QTRY_VERIFY(ticks.count() >= 3);
        QVERIFY(!idle(w) && w.lstMasterServers->count() == 0);

        w.fetchDialog()->Command1->click();
        QVERIFY(idle(w));
        QCOMPARE(w.lblStatus->text(), QStringLiteral(" Fetch Canceled"));
        QTRY_VERIFY(!w.fetchDialog());
    }
};

QTEST_MAIN(GameStarterTest)
#include "tst_gamestarter.moc"
