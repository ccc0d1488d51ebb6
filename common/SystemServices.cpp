#include "common/SystemServices.h"

#include "common/BatchScript.h"
#include "common/BgrColour.h"
#include "common/FileNameCase.h"
#include "common/Windows1252.h"

#include <QApplication>
#include <QColorDialog>
#include <QDesktopServices>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLibrary>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QProcess>
#include <QRandomGenerator>
#include <QScreen>
#include <QStandardPaths>
#include <QUrl>

#include <map>
#include <memory>
#include <string>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#endif

namespace {

QMessageBox::Icon toQt(Prompts::Icon icon) {
    switch (icon) {
    case Prompts::Icon::Information: return QMessageBox::Information;
    case Prompts::Icon::Exclamation: return QMessageBox::Warning;
    case Prompts::Icon::Critical: return QMessageBox::Critical;
    case Prompts::Icon::Question: return QMessageBox::Question;
    case Prompts::Icon::None: break;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons toQt(Prompts::Buttons buttons) {
    switch (buttons) {
    case Prompts::Buttons::OkCancel: return QMessageBox::Ok | QMessageBox::Cancel;
    case Prompts::Buttons::YesNo: return QMessageBox::Yes | QMessageBox::No;
    case Prompts::Buttons::YesNoCancel: return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case Prompts::Buttons::Ok: break;
    }
    return QMessageBox::Ok;
}

} // namespace

Prompts::Answer QtPrompts::message(const QString& title, const QString& text, Icon icon, Buttons buttons) {
    QMessageBox box(toQt(icon), title, text, toQt(buttons), QApplication::activeWindow());
    switch (box.exec()) {
    case QMessageBox::Yes: return Answer::Yes;
    case QMessageBox::No: return Answer::No;
    case QMessageBox::Cancel: return Answer::Cancel;
    default: return Answer::Ok;
    }
}

std::optional<QString> QtPrompts::input(const QString& prompt, const QString& title, const QString& proposed) {
    QInputDialog dialog(QApplication::activeWindow());
    dialog.setWindowTitle(title);
    dialog.setLabelText(prompt);
    dialog.setTextValue(proposed);
    // The box is wide enough to show what it proposes (a favourite's whole entry), within the screen.
    if (auto* edit = dialog.findChild<QLineEdit*>()) {
        const int wanted = edit->fontMetrics().horizontalAdvance(proposed + QStringLiteral("MM"));
        edit->setMinimumWidth(std::min(wanted, dialog.screen()->availableGeometry().width() * 2 / 3));
    }
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.textValue();
}

QString QtPrompts::openFile(const QString& title, const QString& folder, const QString& filter) {
    // A filter that is a caption alone ("All Files") would be read by the dialog as two file names,
    // and it would list no files at all: it shows every file under that caption.
    const QString patterns =
        filter.isEmpty() || filter.contains(u'(') ? filter : filter + QStringLiteral(" (*)");
    return QFileDialog::getOpenFileName(QApplication::activeWindow(), title, folder, patterns);
}

QString QtPrompts::chooseFolder(const QString& title, const QString& folder) {
    return QFileDialog::getExistingDirectory(QApplication::activeWindow(), title, folder);
}

std::optional<qint64> QtPrompts::chooseColour(const QString& title, qint64 currentBgr) {
    const QColor chosen = QColorDialog::getColor(BgrColour::toColor(currentBgr), QApplication::activeWindow(), title);
    if (!chosen.isValid())
        return std::nullopt;
    return BgrColour::fromColor(chosen);
}

bool SystemDesktop::openWithShell(const QString& documentOrAddress) {
    const QUrl url = QFileInfo::exists(documentOrAddress) ? QUrl::fromLocalFile(documentOrAddress)
                                                          : QUrl::fromUserInput(documentOrAddress);
    return QDesktopServices::openUrl(url);
}

#ifdef Q_OS_WIN
bool SystemDesktop::startProgram(const QString& program, const QStringList& arguments,
                                 const QString& workingFolder, Show show) {
    // The command line goes to Windows exactly as built, path unquoted, in the window state asked for.
    QProcess process;
    process.setProgram(program);
    process.setWorkingDirectory(workingFolder);
    // Windows may write into the command line it is given, so it gets a buffer of its own.
    auto commandLine = std::make_shared<std::wstring>((QStringList{program} + arguments).join(u' ').toStdWString());
    process.setCreateProcessArgumentsModifier([commandLine, show](QProcess::CreateProcessArguments* a) {
        a->applicationName = nullptr;
        a->arguments = commandLine->data();
        if (show == Show::Normal)
            return;
        a->startupInfo->dwFlags |= STARTF_USESHOWWINDOW;
        a->startupInfo->wShowWindow = show == Show::Hidden ? SW_HIDE : SW_SHOWMINIMIZED;
    });
    return process.startDetached();
}

bool SystemDesktop::runBatch(const QString& batchFile, const QString& workingFolder, Show show) {
    return startProgram(QStringLiteral("cmd.exe"), {QStringLiteral("/c"), batchFile}, workingFolder, show);
}
#else
namespace {
// A Windows program starts with the "MZ" of its header.
bool isWindowsProgram(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(2) == "MZ";
}
} // namespace

bool SystemDesktop::startProgram(const QString& program, const QStringList& arguments,
                                 const QString& workingFolder, Show) {
    // Paths built the Windows way ("/games/hl\hl.exe") are read with forward slashes, and their
    // names as Windows reads them, whatever the case of the letters.
    QString path = program;
    if (!QFileInfo::exists(path))
        path = FileNameCase::existingPath(path.replace(u'\\', u'/'));
    const QFileInfo file(path);
    // A game runs from its own folder, where it finds its data.
    const QString folder = workingFolder.isEmpty() && file.isFile() ? file.absolutePath() : workingFolder;
    const bool windowsProgram =
        file.isFile() ? isWindowsProgram(path) : path.endsWith(QStringLiteral(".exe"), Qt::CaseInsensitive);
    if (!windowsProgram)
        return QProcess::startDetached(path, arguments, folder);
    // A missing game is not handed to Wine, which would start and fail where no one sees it.
    if (!file.isFile() && path.contains(u'/'))
        return false;
    const QString wine = QStandardPaths::findExecutable(QStringLiteral("wine"));
    if (wine.isEmpty())
        return false;
    return QProcess::startDetached(wine, QStringList{path} + arguments, folder);
}

bool SystemDesktop::runBatch(const QString& batchFile, const QString& workingFolder, Show show) {
    QFile file(batchFile);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const auto command = BatchScript::firstCommand(Windows1252::decode(file.readAll()), workingFolder);
    return command && startProgram(command->program, command->arguments, command->folder, show);
}
#endif

MediaSounds::MediaSounds() = default;
MediaSounds::~MediaSounds() = default;

void MediaSounds::play(const QString& waveFile) {
    if (!QFileInfo::exists(waveFile))
        return;
    if (!m_triedBackEnd) {
        m_triedBackEnd = true;
        m_backEnd = loadBackEnd();
    }
    if (m_backEnd)
        m_backEnd->play(waveFile);
}

// Next to the program when run from the build folder, in lib/quorvel when installed. The module is
// never unloaded: its objects live until the program ends.
std::unique_ptr<Sounds> MediaSounds::loadBackEnd() {
    const QString programFolder = QCoreApplication::applicationDirPath();
    for (const QString& name : {programFolder + QStringLiteral("/quorvel-sounds"),
                                programFolder + QStringLiteral("/../lib/quorvel/quorvel-sounds")}) {
        QLibrary module(name);
        using Create = Sounds* (*)();
        if (const auto create = reinterpret_cast<Create>(module.resolve("quorvelCreateSounds")))
            return std::unique_ptr<Sounds>(create());
    }
    return nullptr;
}

QDateTime SystemClock::now() const { return QDateTime::currentDateTime(); }

QString SystemClock::timeText() const {
    const QLocale locale = QLocale::system();
    return locale.toString(now().time(), RegionalFormat::timeFormat(locale.timeFormat(QLocale::ShortFormat)));
}

QString SystemClock::dateText() const {
    const QLocale locale = QLocale::system();
    return locale.toString(now().date(), RegionalFormat::dateFormat(locale.dateFormat(QLocale::ShortFormat)));
}

int SystemRandom::between(int low, int high) { return QRandomGenerator::global()->bounded(low, high + 1); }

SystemServices::SystemServices(ProgramFolder programFolder) : folder(std::move(programFolder)) {}
