#include "browser/Form10.h"

#include "common/AccessibleWindows.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>

Form10::Form10(const QString& masterListCaption, QWidget* parent)
    : QWidget(parent, Qt::Dialog)
    , Picture1(new QLabel(this))
    , ProgressBar1(new QProgressBar(this))
    , lblError(new QLabel(this))
    , Command1(new QPushButton(QStringLiteral("Stop"), this)) {
    setObjectName(QStringLiteral("Form10"));
    AccessibleWindows::presentAsWindows();
    setWindowTitle(QStringLiteral("Fetching : ") + masterListCaption);
    Picture1->setObjectName(QStringLiteral("Picture1"));
    Picture1->setPixmap(style()->standardIcon(QStyle::SP_BrowserReload).pixmap(32, 32));
    Picture1->setAccessibleName(QStringLiteral("Fetching"));
    ProgressBar1->setObjectName(QStringLiteral("ProgressBar1"));
    ProgressBar1->setAccessibleName(QStringLiteral("Bytes received"));
    ProgressBar1->setRange(0, 0);
    lblError->setObjectName(QStringLiteral("lblError"));
    lblError->setWordWrap(true);
    lblError->hide();
    Command1->setObjectName(QStringLiteral("Command1"));

    auto* layout = new QGridLayout(this);
    layout->addWidget(Picture1, 0, 0, 2, 1);
    layout->addWidget(ProgressBar1, 0, 1);
    layout->addWidget(lblError, 1, 1);
    layout->addWidget(Command1, 2, 0, 1, 2, Qt::AlignRight);
    resize(360, sizeHint().height());
    connect(Command1, &QPushButton::clicked, this, &Form10::stopRequested);
}

void Form10::showProgress(qint64 received, qint64 total) {
    if (total < 1) {
        ProgressBar1->setRange(0, 0);
        ProgressBar1->setFormat(QStringLiteral("%1 bytes").arg(received));
        return;
    }
    // QProgressBar counts in int; kilobytes keep any list in range.
    const bool large = total > 1'000'000'000;
    ProgressBar1->setRange(0, int(large ? total / 1024 : total));
    ProgressBar1->setValue(int(large ? received / 1024 : received));
    ProgressBar1->setFormat(QStringLiteral("%1 of %2 bytes").arg(received).arg(total));
}

void Form10::showError(const QString& text) {
    lblError->setText(text);
    lblError->show();
    ProgressBar1->setRange(0, 1);
    ProgressBar1->setValue(0);
}

void Form10::closeEvent(QCloseEvent* event) {
    // The close box is the Stop button.
    event->ignore();
    Q_EMIT stopRequested();
}
