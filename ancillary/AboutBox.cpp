#include "ancillary/AboutBox.h"

#include "ancillary/Artwork.h"
#include "ancillary/SystemReport.h"
#include "common/Version.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// A window of its own, so it can stay open beside the program.
QWidget* systemInformationWindow(const QString& programFolder, QWidget* parent) {
    auto* window = new QWidget(parent, Qt::Window);
    window->setObjectName(QStringLiteral("frmSysInfo"));
    window->setWindowTitle(QStringLiteral("System Information"));
    window->setAttribute(Qt::WA_DeleteOnClose);
    auto* text = new QPlainTextEdit(systemReport(programFolder).join(u'\n'), window);
    text->setObjectName(QStringLiteral("txtSysInfo"));
    text->setAccessibleName(QStringLiteral("System information"));
    text->setReadOnly(true);
    text->setLineWrapMode(QPlainTextEdit::NoWrap);
    auto* close = new QPushButton(QStringLiteral("Close"), window);
    close->setObjectName(QStringLiteral("cmdClose"));
    QObject::connect(close, &QPushButton::clicked, window, &QWidget::close);
    auto* column = new QVBoxLayout(window);
    column->addWidget(text, 1);
    column->addWidget(close, 0, Qt::AlignRight);
    window->resize(640, 400);
    return window;
}

} // namespace

AboutBox::AboutBox(Services services, QWidget* parent)
    : QDialog(parent)
    , lblVersion(new QLabel(Version::label(), this))
    , cmdOK(new QPushButton(QStringLiteral("OK"), this))
    , cmdSysInfo(new QPushButton(QStringLiteral("&System Info..."), this))
    , m_services(std::move(services)) {
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("About Quorvel"));
    auto* picture = new QLabel(this);
    picture->setPixmap(Artwork::applicationIcon().pixmap(64, 64));
    picture->setAccessibleName(QStringLiteral("Quorvel"));
    auto* title = new QLabel(QStringLiteral("Quorvel"), this);
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    big.setBold(true);
    title->setFont(big);
    auto* description = new QLabel(
        QStringLiteral("A chat room for players, with private chats, file transfers between members and a "
                       "browser for Kingpin, Half-Life and RTCW servers."),
        this);
    description->setWordWrap(true);
    auto* web = new QLabel(QStringLiteral("<a href=\"%1\">%1</a>").arg(Version::webPage()), this);
    web->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    connect(web, &QLabel::linkActivated, this,
            [this](const QString& link) { m_services.desktop.openWithShell(link); });
    lblVersion->setObjectName(QStringLiteral("lblVersion"));
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdSysInfo->setObjectName(QStringLiteral("cmdSysInfo"));
    connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(cmdSysInfo, &QPushButton::clicked, this, &AboutBox::cmdSysInfo_Click);

    auto* text = new QVBoxLayout;
    text->addWidget(title);
    text->addWidget(lblVersion);
    text->addWidget(description);
    text->addWidget(web);
    auto* top = new QHBoxLayout;
    top->addWidget(picture, 0, Qt::AlignTop);
    top->addLayout(text, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdSysInfo);
    auto* column = new QVBoxLayout(this);
    column->addLayout(top);
    column->addLayout(buttons);
    resize(420, sizeHint().height());
}

void AboutBox::cmdSysInfo_Click() {
#ifdef Q_OS_WIN
    if (!m_services.desktop.startProgram(QStringLiteral("msinfo32.exe"), {}, {}, Desktop::Show::Normal))
        m_services.prompts.message(QStringLiteral("Quorvel"),
                                   QStringLiteral("System Information Is Unavailable At This Time"),
                                   Prompts::Icon::Exclamation);
#else
    // Parented past the about box, so that it may stay open after the box closes.
    QWidget* window = systemInformationWindow(m_services.folder.path(), parentWidget());
    window->show();
#endif
}
