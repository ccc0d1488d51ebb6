#pragma once

#include <QStringList>
#include <QTimer>
#include <QWidget>

class ChatSession;
class QAction;
class QComboBox;
class QGroupBox;
class QMenu;
class QPlainTextEdit;
class QProgressBar;

// The composer: sends a block of lines to one member, one private message per line, with a pause
// between lines and a cool-down of five seconds before the next block.
class Form5 : public QWidget {
    Q_OBJECT
public:
    // Keeps a block within the chat server's flood limit of ten lines in five seconds.
    static constexpr int LinePauseMs = 550;
    static constexpr int CoolDownTicks = 6;

    explicit Form5(ChatSession& session, QWidget* parent = nullptr);

    QComboBox* Combo1;
    QPlainTextEdit* rtb;
    QGroupBox* Frame1;
    QProgressBar* pbSending;
    QProgressBar* pbWaiting;
    QTimer* Timer1;
    QMenu* mnufile;
    QAction* mnuSend;

    void setRecipient(const QString& nickname);
    bool isSending() const { return m_sending; }

    void mnuSend_Click();
    void Timer1_Timer();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    // A line went to the recipient: their conversation shows it as if typed there.
    void lineSent(const QString& recipient, const QString& line);

private:
    void sendNextLine();

    ChatSession& m_session;
    QTimer m_pause;
    QStringList m_lines;
    QString m_recipient;
    int m_next = 0;
    int m_ticks = 0;
    bool m_sending = false;
};
