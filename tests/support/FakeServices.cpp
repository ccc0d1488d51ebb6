#include "FakeServices.h"

namespace {
// The next scripted answer, or `none` when the script has run out.
template <typename T> T next(std::deque<T>& script, T none) {
    if (script.empty())
        return none;
    const T answer = script.front();
    script.pop_front();
    return answer;
}
} // namespace

QStringList FakePrompts::texts() const {
    QStringList out;
    for (const Shown& s : shown)
        out.append(s.text);
    return out;
}

QStringList FakePrompts::lines() const {
    QStringList out;
    for (const Shown& s : shown)
        out.append(s.line());
    return out;
}

void FakePrompts::record(Shown s) {
    shown.append(s);
    if (whileOpen)
        whileOpen(shown.last());
}

Prompts::Answer FakePrompts::message(const QString& title, const QString& text, Icon icon, Buttons buttons) {
    record({QStringLiteral("message"), title, text, icon, buttons, {}});
    return next(answers, Answer::Ok);
}

std::optional<QString> FakePrompts::input(const QString& prompt, const QString& title, const QString& proposed) {
    record({QStringLiteral("input"), title, prompt, Icon::None, Buttons::OkCancel, proposed});
    return next(inputs, std::optional<QString>());
}

QString FakePrompts::openFile(const QString& title, const QString& folder, const QString& filter) {
    record({QStringLiteral("openFile"), title, filter, Icon::None, Buttons::OkCancel, folder});
    return next(files, QString());
}

QString FakePrompts::chooseFolder(const QString& title, const QString& folder) {
    record({QStringLiteral("chooseFolder"), title, {}, Icon::None, Buttons::OkCancel, folder});
    return next(folders, QString());
}

std::optional<qint64> FakePrompts::chooseColour(const QString& title, qint64 currentBgr) {
    record({QStringLiteral("chooseColour"), title, {}, Icon::None, Buttons::OkCancel, QString::number(currentBgr)});
    return next(colours, std::optional<qint64>());
}

bool FakeDesktop::openWithShell(const QString& documentOrAddress) {
    opened.append(documentOrAddress);
    return succeed;
}

bool FakeDesktop::startProgram(const QString& program, const QStringList& arguments, const QString& workingFolder,
                               Show show) {
    started.append({program, arguments, workingFolder, show});
    return succeed;
}

bool FakeDesktop::runBatch(const QString& batchFile, const QString& workingFolder, Show show) {
    started.append({batchFile, {}, workingFolder, show});
    return succeed;
}

int FakeRandom::between(int low, int high) {
    return qBound(low, next(values, low), high);
}

TestServices::TestServices() = default;

Services TestServices::services() {
    return Services{prompts, desktop, sounds, clock, random, ProgramFolder(dir.path())};
}

QString TestServices::file(const QString& backslashName) const {
    return ProgramFolder(dir.path()).file(backslashName);
}
