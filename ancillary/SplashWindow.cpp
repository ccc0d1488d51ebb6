#include "ancillary/SplashWindow.h"

#include "ancillary/Artwork.h"
#include "common/Desktop.h"
#include "common/Version.h"

#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

SplashWindow::SplashWindow(Desktop& desktop, QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint)
    , imgLogo(new QLabel(this))
    , lblWait(new QLabel(QStringLiteral("Please wait"), this))
    , lblVersion(new QLabel(Version::label(), this))
    , lblURL(new QPushButton(Version::webPage(), this))
    , tmrSplash(new QTimer(this))
    , m_desktop(desktop) {
    setObjectName(QStringLiteral("frmSplash"));
    setWindowTitle(QStringLiteral("Quorvel"));
    setAttribute(Qt::WA_DeleteOnClose);
    imgLogo->setObjectName(QStringLiteral("imgLogo"));
    imgLogo->setPixmap(Artwork::splashPicture());
    imgLogo->setAccessibleName(QStringLiteral("Quorvel"));
    lblWait->setObjectName(QStringLiteral("lblWait"));
    lblVersion->setObjectName(QStringLiteral("lblVersion"));
    lblURL->setObjectName(QStringLiteral("lblURL"));
    lblURL->setFlat(true);
    lblURL->setCursor(Qt::PointingHandCursor);
    lblURL->setStyleSheet(
        QStringLiteral("QPushButton { color: palette(link); text-decoration: underline; border: none; }"));
    tmrSplash->setObjectName(QStringLiteral("tmrSplash"));
    tmrSplash->setSingleShot(true);
    tmrSplash->setInterval(ShownAfterReadyMs);
    connect(tmrSplash, &QTimer::timeout, this, &SplashWindow::tmrSplash_Timer);
    connect(lblURL, &QPushButton::clicked, this, &SplashWindow::lblURL_Click);

    QFont big = lblWait->font();
    big.setPointSizeF(big.pointSizeF() * 1.3);
    big.setBold(true);
    lblWait->setFont(big);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(lblWait);
    bottom->addStretch(1);
    bottom->addWidget(lblVersion);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 8);
    column->addWidget(imgLogo);
    bottom->setContentsMargins(12, 0, 12, 0);
    column->addLayout(bottom);
    column->addWidget(lblURL, 0, Qt::AlignHCenter);
}

void SplashWindow::mainWindowReady() {
    tmrSplash->start();
}

void SplashWindow::lblURL_Click() {
    m_desktop.openWithShell(lblURL->text());
}

void SplashWindow::tmrSplash_Timer() {
    close();
}

void SplashWindow::showEvent(QShowEvent* event) {
    const QRect over = parentWidget() ? parentWidget()->frameGeometry() : screen()->availableGeometry();
    move(over.center() - QPoint(sizeHint().width() / 2, sizeHint().height() / 2));
    QWidget::showEvent(event);
}

void SplashWindow::mousePressEvent(QMouseEvent*) {
    close();
}

void SplashWindow::keyPressEvent(QKeyEvent*) {
    close();
}
