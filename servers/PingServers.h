#pragma once

#include "common/SortView.h"
#include "servers/ServerQuery.h"

#include <QWidget>

class Prompts;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTimer;
class QTreeWidget;
class ReplyGraph;

// "Server Stats": the live state of the server chosen in the window that opens it. The game,
// address and port are read from that window at every query; this one keeps nothing but its controls.
class PingServers : public QWidget, private QueryResultSink {
    Q_OBJECT
public:
    // Loading the window sends the first query to server; the window belongs to parent.
    PingServers(const QueryTarget& server, Prompts& prompts, QWidget* parent);

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

Q_SIGNALS:
    // "Join" was pressed (and, on a full server, confirmed): the opener joins as its own Join does.
    void joinRequested();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void showReply(const ServerStatus& status, qint64 bytes, std::optional<qint64> replyMs) override;
    void buildLayout();
    void say(const QString& title, const QString& text);
    // How a column of LVPlayers sorts; column counts from 1.
    static qint16 columnType(int column);

    Prompts& m_prompts;
    SortView m_sort;
};
