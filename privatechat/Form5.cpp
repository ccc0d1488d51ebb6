#include "privatechat/Form5.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/ChatSession.h"
#include "common/AccessibleWindows.h"

#include <QComboBox>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QVBoxLayout>

Form5::Form5(ChatSession& session, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , Combo1(new QComboBox(this))
    , rtb(new QPlainTextEdit(this))
    , Frame1(new QGroupBox(this))
    , pbSending(new QProgressBar(Frame1))
    , pbWaiting(new QProgressBar(Frame1))
    , Timer1(new QTimer(this))
    , m_session(session) {
    setObjectName(QStringLiteral("Form5"));
    AccessibleWindows::presentAsWindows();
    setWindowTitle(QStringLiteral("Send Formated"));
    Combo1->setObjectName(QStringLiteral("Combo1"));
    Combo1->setEditable(true);
    Combo1->setAccessibleName(QStringLiteral("Recipient"));
    Combo1->installEventFilter(this);
    Combo1->lineEdit()->installEventFilter(this);
    Combo1->addItems(session.members());
    rtb->setObjectName(QStringLiteral("rtb"));
    rtb->setAccessibleName(QStringLiteral("Text to send"));
    Frame1->setObjectName(QStringLiteral("Frame1"));
    pbSending->setObjectName(QStringLiteral("pbSending"));
    pbWaiting->setObjectName(QStringLiteral("pbWaiting"));
    pbSending->setRange(0, 1);
    pbSending->setValue(0);
    pbWaiting->setRange(0, CoolDownTicks - 1);
    pbWaiting->setValue(0);
    Timer1->setObjectName(QStringLiteral("Timer1"));
    Timer1->setInterval(1000);

    auto* frameLayout = new QGridLayout(Frame1);
    auto bar = [&](const QString& caption, QProgressBar* progress, int row) {
        auto* label = new QLabel(caption, Frame1);
        label->setBuddy(progress);
        progress->setAccessibleName(caption);
        frameLayout->addWidget(label, row, 0);
        frameLayout->addWidget(progress, row, 1);
    };
    bar(QStringLiteral("Sending..."), pbSending, 0);
    bar(QStringLiteral("Waiting..."), pbWaiting, 1);

    auto* menus = new QMenuBar(this);
    mnufile = menus->addMenu(QStringLiteral("&File"));
    mnufile->setObjectName(QStringLiteral("mnufile"));
    mnuSend = mnufile->addAction(QStringLiteral("&Send"));
    mnuSend->setObjectName(QStringLiteral("mnuSend"));

    auto* layout = new QVBoxLayout(this);
    layout->setMenuBar(menus);
    layout->addWidget(Combo1);
    layout->addWidget(rtb, 1);
    layout->addWidget(Frame1);
    resize(420, 320);

    m_pause.setSingleShot(true);
    m_pause.setInterval(LinePauseMs);
    connect(&m_pause, &QTimer::timeout, this, &Form5::sendNextLine);
    connect(mnuSend, &QAction::triggered, this, &Form5::mnuSend_Click);
    connect(Timer1, &QTimer::timeout, this, &Form5::Timer1_Timer);
}

void Form5::setRecipient(const QString& nickname) {
    Combo1->setCurrentText(nickname);
}

bool Form5::eventFilter(QObject* watched, QEvent* event) {
    // The recipient is picked from the list, never typed: a typed key goes to the text instead.
    if ((watched == Combo1 || watched == Combo1->lineEdit()) && event->type() == QEvent::KeyPress &&
        !static_cast<QKeyEvent*>(event)->text().isEmpty()) {
        rtb->setFocus();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void Form5::mnuSend_Click() {
    if (Timer1->isActive() || m_sending)
        return;
    const QString text = rtb->toPlainText();
    if (text.isEmpty())
        return; // nothing to split, nothing sent
    m_sending = true;
    m_lines = text.split(u'\n');
    m_recipient = Combo1->currentText();
    m_next = 0;
    pbSending->setRange(0, std::max(1, int(m_lines.size()) - 1));
    sendNextLine();
}

void Form5::sendNextLine() {
    if (m_next == m_lines.size()) {
        Timer1->start();
        m_sending = false;
        return;
    }
    pbSending->setValue(m_next);
    m_session.send(
        ChatMessage::build(ChatProtocol::PrivateMsg, {m_recipient, m_lines.at(m_next) + ChatProtocol::LineEnd}));
    Q_EMIT lineSent(m_recipient, m_lines.at(m_next));
    ++m_next;
    // The pause lets the chat and the other windows run between lines.
    m_pause.start();
}

void Form5::Timer1_Timer() {
    ++m_ticks;
    if (m_ticks < CoolDownTicks) {
        pbWaiting->setValue(m_ticks);
        return;
    }
    pbSending->setValue(0);
    Timer1->stop();
    m_ticks = 0;
    // Nothing shows the frame again; the window keeps it hidden from the first cool-down on.
    Frame1->hide();
}
