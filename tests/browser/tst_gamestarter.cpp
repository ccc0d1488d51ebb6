#include "FakeServices.h"

#include "browser/GameStarter.h"
#include "browser/StarterOptions.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QtTest>

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
    void put(const QString& name, const QByteArray& bytes) {
        QFile f(t.file(name));
        QDir().mkpath(QFileInfo(f).path());
        if (f.open(QIODevice::WriteOnly))
            f.write(bytes);
    }
    QByteArray bytes(const QString& name) const {
        QFile f(t.file(name));
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("-");
    }
    QStringList items(const QListWidget* list) const {
        QStringList out;
        for (int i = 0; i < list->count(); ++i)
            out.append(list->item(i)->text());
        return out;
    }
    void fields(const QString& name, const QString& address, const QString& port) {
        w->Text3->setText(name);
        w->Text2->setText(address);
        w->Text4->setText(port);
    }
    TestServices t;
    std::unique_ptr<GameStarter> w;
};

QRadioButton* mod(GameStarter& w, int index) {
    QRadioButton* options[] = {w.Option1, w.Option2, w.Option3, w.Option4};
    return index < 0 ? nullptr : options[index];
}

} // namespace

class GameStarterTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void gameChange_data();
    void gameChange();
    void homeKeepsPathAndEmptiesLists();
    void mmClientSwitch();
    void loadini_data();
    void loadini();
    void browseForPath_data();
    void browseForPath();
    void addFavourite_data();
    void addFavourite();
    void editRemoveAndDoubleClick();
    void takeApart_data();
    void takeApart();
    void refusals_data();
    void refusals();
    void clipboard_data();
    void clipboard();
    void windowBasics();
};

void GameStarterTest::gameChange_data() {
    QTest::addColumn<QString>("game");
    QTest::addColumn<int>("modIndex");
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QString>("pathFile");
    QTest::addColumn<QString>("favouritesFile");
    QTest::addColumn<QString>("exe");
    QTest::addColumn<QString>("proposed");
    QTest::addColumn<QString>("frame");
    QTest::newRow("Half-Life, Counter-Strike") << "Half-Life" << 1 << QByteArray() << "\\halflife-path.qvl"
                                               << "\\counterstrike-serverlist.qvl"
                                               << "\\hl.exe"
                                               << "hl.exe"
                                               << "Frame1";
    QTest::newRow("Kingpin, MM client on")
        << "Kingpin" << -1 << QByteArray("[Options]\r\nKingpinMMClient=1\r\n") << "\\kingpin-path.qvl"
        << "\\kingpin-serverlist.qvl"
        << "\\mmclient.exe"
        << "MMCLIENT.EXE"
        << "Frame2";
    QTest::newRow("Kingpin, no settings") << "Kingpin" << -1 << QByteArray() << "\\kingpin-path.qvl"
                                          << "\\kingpin-serverlist.qvl"
                                          << "\\kingpin.exe"
                                          << "KINGPIN.EXE"
                                          << "Frame2";
    QTest::newRow("RTCW") << "RTCW" << -1 << QByteArray() << "\\rtcw-path.qvl"
                          << "\\rtcw-serverlist.qvl"
                          << "\\wolfmp.exe"
                          << "WolfMP.exe"
                          << "Frame3";
}

void GameStarterTest::gameChange() {
    QFETCH(QString, game);
    QFETCH(int, modIndex);
    QFETCH(QByteArray, settings);
    QFETCH(QString, pathFile);
    QFETCH(QString, favouritesFile);
    QFETCH(QString, exe);
    QFETCH(QString, proposed);
    QFETCH(QString, frame);
    QMap<QString, QByteArray> files{{pathFile, "C:\\Games\\X\r\n"},
                                    {favouritesFile, "A - 1.2.3.4 - 5\r\nB - c - 6\r\n"}};
    if (!settings.isEmpty())
        files.insert(QStringLiteral("\\Settings.ini"), settings);
    Browser b(files);
    GameStarter& w = *b.w;
    if (QRadioButton* option = mod(w, modIndex))
        option->setChecked(true);
    b.fields(QStringLiteral("n"), QStringLiteral("a"), QStringLiteral("1"));
    w.lstMasterServers->addItem(QStringLiteral("old"));
    w.lblMasterServers->setText(QStringLiteral("Master Servers : Kingpin"));

    w.setGameKey(game);
    QCOMPARE(w.txtGameEXE->text(), exe);
    QCOMPARE(w.proposedFileName(), proposed);
    QCOMPARE(w.options().Text1->text(), QStringLiteral("C:\\Games\\X"));
    QCOMPARE(b.items(w.lstServers),
             (QStringList{QStringLiteral("A - 1.2.3.4 - 5"), QStringLiteral("B - c - 6")}));
    QCOMPARE(w.lstMasterServers->count(), 0);
    QCOMPARE(w.lblMasterServers->text(), QStringLiteral("Master Servers :"));
    QCOMPARE(w.Text3->text() + w.Text2->text() + w.Text4->text(), QString());
    for (QGroupBox* f : {w.Frame1, w.Frame2, w.Frame3, w.Frame4})
        QCOMPARE(f->isVisibleTo(&w), f->objectName() == frame);
    QCOMPARE(b.t.prompts.lines(), QStringList{pathError(game)});
    QCOMPARE(w.lblStatus->text(), QStringLiteral(" Path error!"));
}

void GameStarterTest::homeKeepsPathAndEmptiesLists() {
    QTemporaryDir games;
    QDir(games.path()).mkpath(QStringLiteral("kp"));
    QFile exe(games.filePath(QStringLiteral("kp/Kingpin.exe"))); // found whatever its case
    QVERIFY(exe.open(QIODevice::WriteOnly));
    const QString folder = QDir::toNativeSeparators(games.filePath(QStringLiteral("kp")));
    Browser b({{QStringLiteral("\\kingpin-path.qvl"), folder.toUtf8()},
               {"\\kingpin-serverlist.qvl", "A - 1 - 2\r\n"}});
    GameStarter& w = *b.w;
    w.setGameKey(QStringLiteral("Kingpin"));
    QCOMPARE(b.t.prompts.shown.size(), 0);
    QCOMPARE(w.lblStatus->text(), QString());
    w.lstMasterServers->addItem(QStringLiteral("m"));

    w.setGameKey(QStringLiteral("*Home"));
    QCOMPARE(w.lstServers->count() + w.lstMasterServers->count(), 0);
    QCOMPARE(w.options().Text1->text(), folder);
    QVERIFY(w.Frame4->isVisibleTo(&w) && !w.Frame2->isVisibleTo(&w));
    QCOMPARE(b.t.prompts.shown.size(), 0);
}

void GameStarterTest::mmClientSwitch() {
    const QByteArray other = "; mine\r\n[Other]\r\nKingpinMMClient=7\r\n[Options]\r\n";
    Browser b({{QStringLiteral("\\Settings.ini"), other + "KingpinMMClient=0\r\nExtra=\xe9\r\n"}});
    GameStarter& w = *b.w;
    w.setGameKey(QStringLiteral("Kingpin"));
    QVERIFY(!w.Check1->isChecked());
    QCOMPARE(w.txtGameEXE->text(), QStringLiteral("\\kingpin.exe"));

    w.txtGameEXE->setText(QStringLiteral("\\KINGPIN.EXE")); // replaced whatever its case
    w.Check1->click();
    QCOMPARE(w.txtGameEXE->text(), QStringLiteral("\\mmclient.exe"));
    QCOMPARE(w.proposedFileName(), QStringLiteral("mmclient.exe"));
    QCOMPARE(b.bytes(QStringLiteral("\\Settings.ini")), other + "KingpinMMClient=1\r\nExtra=\xe9\r\n");
    QCOMPARE(b.t.prompts.lastLine(), pathError(QStringLiteral("Kingpin")));

    w.Check1->click();
    QCOMPARE(w.txtGameEXE->text(), QStringLiteral("\\kingpin.exe"));
    QCOMPARE(w.proposedFileName(), QStringLiteral("kingpin.exe"));
    QCOMPARE(b.bytes(QStringLiteral("\\Settings.ini")), other + "KingpinMMClient=0\r\nExtra=\xe9\r\n");
    QVERIFY(w.Option5->isChecked());
}

void GameStarterTest::loadini_data() {
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QString>("value"); // "path": the settings file's own path, cut to 49 characters
    QTest::addColumn<QString>("prompt");
    const QString apiError =
        line(QStringLiteral("An error has occurred while calling the API function"), Icon::Exclamation);
    QTest::newRow("value trimmed") << QByteArray("[Options]\r\nKingpinMMClient=  7 \r\n") << "7" << None;
    QTest::newRow("missing key") << QByteArray("[Options]\r\n") << "path" << None;
    QTest::newRow("empty value") << QByteArray("[Options]\r\nKingpinMMClient=\r\n") << "unchanged"
                                 << apiError;
}

void GameStarterTest::loadini() {
    QFETCH(QByteArray, settings);
    QFETCH(QString, value);
    QFETCH(QString, prompt);
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

void GameStarterTest::browseForPath_data() {
    QTest::addColumn<QString>("game");
    QTest::addColumn<QString>("pathBefore");
    QTest::addColumn<int>("answer"); // to the Yes/No question, when asked
    QTest::addColumn<QString>("status");
    QTest::addColumn<bool>("saved");
    QTest::newRow("no game") << "*Home"
                             << "" << -1 << "" << false;
    QTest::newRow("path kept") << "Kingpin"
                               << "C:\\KP" << int(Prompts::Answer::No)
                               << " Path to Kingpin has not been changed" << false;
    QTest::newRow("path changed") << "Kingpin"
                                  << "C:\\KP" << int(Prompts::Answer::Yes) << " Saved the path to Kingpin"
                                  << true;
    QTest::newRow("first path") << "RTCW"
                                << "" << -1 << " Saved the path to RTCW" << true;
}

void GameStarterTest::browseForPath() {
    QFETCH(QString, game);
    QFETCH(QString, pathBefore);
    QFETCH(int, answer);
    QFETCH(QString, status);
    QFETCH(bool, saved);
    Browser b;
    GameStarter& w = *b.w;
    w.setGameKey(game);
    w.options().Text1->setText(pathBefore);
    b.t.prompts.shown.clear();
    if (answer >= 0)
        b.t.prompts.answers.push_back(Prompts::Answer(answer));
    QTemporaryDir games;
    const QString exe = games.filePath(QStringLiteral("Games/X/") + w.proposedFileName());
    QDir().mkpath(QFileInfo(exe).path());
    QFile(exe).open(QIODevice::WriteOnly);
    b.t.prompts.files.push_back(exe);

    w.options().cmdGetPath0->click();
    const QString pathFile =
        game == u"RTCW" ? QStringLiteral("\\rtcw-path.qvl") : QStringLiteral("\\kingpin-path.qvl");
    const QString folder = QDir::toNativeSeparators(games.filePath(QStringLiteral("Games/X")));
    QCOMPARE(b.bytes(pathFile), saved ? folder.toUtf8() + "\r\n" : QByteArray("-"));
    QCOMPARE(w.options().Text1->text(), saved ? folder : pathBefore);
    QCOMPARE(w.lblStatus->text(), status);
    QStringList kinds;
    for (const auto& s : b.t.prompts.shown)
        kinds.append(s.kind == u"openFile" ? s.title + u'|' + QFileInfo(s.proposed).fileName() : s.line());
    QStringList expected;
    if (game == u"*Home")
        expected.append(line(QStringLiteral("You must select a game first."), Icon::Exclamation));
    if (answer >= 0)
        expected.append(
            line(QStringLiteral("Are you sure you want to browse for Kingpin's exe? Click no if the path "
                                "to Kingpin is already set and working!"),
                 Icon::Critical));
    if (saved)
        expected.append(QStringLiteral("Half-Life Executable|") + w.proposedFileName());
    QCOMPARE(kinds, expected);
}

void GameStarterTest::addFavourite_data() {
    QTest::addColumn<QString>("game");
    QTest::addColumn<int>("modIndex");
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("prompt");
    QTest::addColumn<QByteArray>("after");
    const QByteArray one = "Old - 1.1.1.1 - 1\r\n";
    const QByteArray two = one + "Srv - 10.0.0.1 - 7777\r\n";
    QTest::newRow("no game") << "*Home" << -1 << "7777"
                             << "\\kingpin-serverlist.qvl"
                             << line(QStringLiteral("You must select a game first."), Icon::Exclamation)
                             << one;
    QTest::newRow("empty field") << "Kingpin" << -1 << ""
                                 << "\\kingpin-serverlist.qvl"
                                 << line(QStringLiteral("Please add infomation to all fields"),
                                         Icon::Information)
                                 << one;
    QTest::newRow("no mod") << "Half-Life" << -1 << "7777"
                            << "\\half-life-serverlist.qvl"
                            << line(QStringLiteral("Please select the type of Half-Life MOD first"),
                                    Icon::Exclamation)
                            << one;
    QTest::newRow("Kingpin") << "Kingpin" << -1 << "7777"
                             << "\\kingpin-serverlist.qvl" << None << two;
    QTest::newRow("Day of Defeat") << "Half-Life" << 2 << "7777"
                                   << "\\dod-serverlist.qvl" << None << two;
    QTest::newRow("duplicate kept once") << "RTCW" << -1 << "1"
                                         << "\\rtcw-serverlist.qvl" << None << one;
}

void GameStarterTest::addFavourite() {
    QFETCH(QString, game);
    QFETCH(int, modIndex);
    QFETCH(QString, port);
    QFETCH(QString, file);
    QFETCH(QString, prompt);
    QFETCH(QByteArray, after);
    Browser b({{file, "Old - 1.1.1.1 - 1\r\n"}});
    GameStarter& w = *b.w;
    w.setGameKey(game);
    if (QRadioButton* option = mod(w, modIndex))
        option->click();
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

void GameStarterTest::editRemoveAndDoubleClick() {
    Browser b({{QStringLiteral("\\kingpin-serverlist.qvl"), "A - 1 - 2\r\nB - 3 - 4\r\nC - 5 - 6\r\n"}});
    GameStarter& w = *b.w;
    w.setGameKey(QStringLiteral("Kingpin"));
    const QString file = QStringLiteral("\\kingpin-serverlist.qvl");
    w.lstServers->setCurrentRow(0);
    b.t.prompts.inputs = {std::nullopt, QString(), QStringLiteral("no separators")};
    for (int i = 0; i < 3; ++i)
        w.mnuEditServerDetails->trigger();
    QCOMPARE(b.t.prompts.last().text, QStringLiteral("Enter server name/descriotion, IP and port\r\nlike \r\n"
                                                     "Server Description - 255.255.255.255 - 7777"));
    QCOMPARE(b.t.prompts.last().title, QStringLiteral("Edit"));
    QCOMPARE(b.t.prompts.last().proposed, QStringLiteral("A - 1 - 2"));
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
    QCOMPARE(
        b.t.prompts.lastLine(),
        line(QStringLiteral("Please select a game then a 'favorite server' to delete"), Icon::Information));
}

void GameStarterTest::takeApart_data() {
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QStringList>("fields");
    QTest::newRow("three fields") << "Fred's Bar - 10.0.0.5 - 31510"
                                  << QStringList{"Fred's Bar", "10.0.0.5", "31510"};
    QTest::newRow("description with the separator")
        << "My - Server - 10.0.0.1 - 7777" << QStringList{"My", "Server", "10.0.0.1"};
    QTest::newRow("two fields") << "Name - host" << QStringList{"Name", "host", "z"};
    QTest::newRow("one field") << "Solo" << QStringList{"Solo", "y", "z"};
    QTest::newRow("empty item") << "" << QStringList{"", "y", "z"};
}

void GameStarterTest::takeApart() {
    QFETCH(QString, entry);
    QFETCH(QStringList, fields);
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

void GameStarterTest::refusals_data() {
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("game");
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<QString>("prompt");
    const QStringList full{"S", "10.0.0.5", "27960"};
    const QString selectGame = line(QStringLiteral("Please select a game first"), Icon::Information);
    QTest::newRow("join, empty field before no game")
        << "Join"
        << "*Home" << QStringList{"S", "", "1"}
        << line(QStringLiteral("Cant join game server. Field(s) are empty!"), Icon::Information);
    QTest::newRow("join, letter in port before no game")
        << "Join"
        << "*Home" << QStringList{"S", "h", "27a"}
        << line(QStringLiteral("Enter numbers only !"), Icon::Critical);
    QTest::newRow("join, no game") << "Join"
                                   << "*Home" << full << selectGame;
    QTest::newRow("join, digits") << "Join"
                                  << "RTCW" << full << None;
    QTest::newRow("stats, Half-Life even when filled")
        << "Command7"
        << "Half-Life" << full
        << line(QStringLiteral("Getting stats of a Half-Life server not supported in this version."),
                Icon::Information);
    QTest::newRow("stats, no game") << "Command7"
                                    << "*Home" << full << selectGame;
    QTest::newRow("stats, no address") << "Command7"
                                       << "Kingpin" << QStringList{"S", "", "1"}
                                       << line(QStringLiteral("Enter a server to query"), Icon::Information,
                                               QStringLiteral("Server Required"));
    QTest::newRow("stats, handed over") << "Command7"
                                        << "Kingpin" << QStringList{"", "h", ""} << None;
}

void GameStarterTest::refusals() {
    QFETCH(QString, button);
    QFETCH(QString, game);
    QFETCH(QStringList, fields);
    QFETCH(QString, prompt);
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
}

void GameStarterTest::clipboard_data() {
    QTest::addColumn<bool>("favouriteSelected");
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("copied");
    QTest::newRow("address") << true << "mnuCopyIPPort"
                             << "Server : 10.0.0.5:31510";
    QTest::newRow("name and address") << true << "mnuCopyServerNameAddress"
                                      << "Server : Fred's Bar & Address : 10.0.0.5:31510";
    QTest::newRow("picked from the master list") << false << "mnuCopyIPPort"
                                                 << "before";
}

void GameStarterTest::clipboard() {
    QFETCH(bool, favouriteSelected);
    QFETCH(QString, action);
    QFETCH(QString, copied);
    Browser b;
    GameStarter& w = *b.w;
    QListWidget* list = favouriteSelected ? w.lstServers : w.lstMasterServers;
    list->addItem(QStringLiteral("Fred's Bar - 10.0.0.5 - 31510"));
    list->setCurrentRow(0);
    QGuiApplication::clipboard()->setText(QStringLiteral("before"));
    w.findChild<QAction*>(action)->trigger();
    QCOMPARE(QGuiApplication::clipboard()->text(), copied);
}

void GameStarterTest::windowBasics() {
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
    QCOMPARE(b.t.desktop.opened, (QStringList{"/games/kp/main/autoexec.cfg", "/games/kp/main/config.cfg"}));
#endif
    // The player name never holds a blank; the check box enables it.
    QVERIFY(!w.txtKPNAME->isEnabled());
    w.chkKPNAME->click();
    w.txtKPNAME->clear();
    QTest::keyClicks(w.txtKPNAME, QStringLiteral("Big Fred"));
    QCOMPARE(w.txtKPNAME->text(), QStringLiteral("BigFred"));
    QCOMPARE(w.options().Combo2->currentText(), QStringLiteral("Quorvel Master List"));

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

QTEST_MAIN(GameStarterTest)
#include "tst_gamestarter.moc"
