#include "FakeServices.h"

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
    if (answers.empty())
        return Answer::Ok;
    const Answer a = answers.front();
    answers.pop_front();
    return a;
}

std::optional<QString> FakePrompts::input(const QString& prompt, const QString& title, const QString& proposed) {
    record({QStringLiteral("input"), title, prompt, Icon::None, Buttons::OkCancel, proposed});
    if (inputs.empty())
        return std::nullopt;
    const bool typed = inputs.front().has_value();
    const QString text = typed ? *inputs.front() : QString();
    inputs.pop_front();
    if (!typed)
        return std::nullopt;
    return text;
}

QString FakePrompts::openFile(const QString& title, const QString& folder, const QString& filter) {
    record({QStringLiteral("openFile"), title, filter, Icon::None, Buttons::OkCancel, folder});
    if (files.empty())
        return {};
    QString f = files.front();
    files.pop_front();
    return f;
}

QString FakePrompts::chooseFolder(const QString& title, const QString& folder) {
    record({QStringLiteral("chooseFolder"), title, {}, Icon::None, Buttons::OkCancel, folder});
    if (folders.empty())
        return {};
    QString f = folders.front();
    folders.pop_front();
    return f;
}

std::optional<qint64> FakePrompts::chooseColour(const QString& title, qint64 currentBgr) {
    record({QStringLiteral("chooseColour"), title, {}, Icon::None, Buttons::OkCancel, QString::number(currentBgr)});
    if (colours.empty())
        return std::nullopt;
    const std::optional<qint64> c = colours.front();
    colours.pop_front();
    return c;
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
    if (values.empty())
        return low;
    const int v = values.front();
    values.pop_front();
    return qBound(low, v, high);
}

TestServices::TestServices() = default;

Services TestServices::services() {
    return Services{prompts, desktop, sounds, clock, random, ProgramFolder(dir.path())};
}

QString TestServices::file(const QString& backslashName) const {
    return ProgramFolder(dir.path()).file(backslashName);
}
