#pragma once

#include "common/SortView.h"
#include "servers/ServerQuery.h"

#include <QWidget>

class GameStarter;
class Prompts;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTimer;
class QTreeWidget;
class ReplyGraph;

// "Server Stats": the live state of the server chosen in the browser. The game, address and port
// are read from the browser at every query; the window keeps nothing but its controls.
class PingServers : public QWidget, private QueryTarget, private QueryResultSink {
    Q_OBJECT
public:
    // Loading the window sends the first query.
    PingServers(GameStarter& browser, Prompts& prompts);

    QPushButton* Command2; // "Join"
    QPushButton* Command1; // "Close"
    QPushButton* cmdQuery; // "Refresh"
    QCheckBox* Check1;     // "Monitor server every"
    QLineEdit* Text1;      // the interval in milliseconds
    QTimer* Timer1;        // retries the first query until one goes out
    QTimer* tmrMonitorServer;
    ServerQuery* Socket;
    QTreeWidget* LVPlayers;
    QLabel* Label12;
    QLabel* lblGameName;
    QLabel* Label5;
    QLabel* lblServer;
    QLabel* Label11;
    QLabel* lblMap;
    QLabel* Label10;
    QLabel* lblMaxPlayers;
    QLabel* lblPlayers;
    QLabel* Label2;
    QLabel* lblReplyTime; // how long the last reply took, beside the status
    ReplyGraph* graph;

    void cmdQuery_Click();
    void Timer1_Timer();
    void Check1_Click();
    void Command2_Click();
    void LVPlayers_ColumnClick(int column);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QString gameKey() const override;
    QString serverAddress() const override;
    QString serverPort() const override;
    void showReply(const ServerStatus& status, qint64 bytes, std::optional<qint64> replyMs) override;
    void buildLayout();
    void say(const QString& title, const QString& text);
    // How a column of LVPlayers sorts; column counts from 1.
    static qint16 columnType(int column);

    GameStarter& m_browser;
    Prompts& m_prompts;
    SortView m_sort;
};
