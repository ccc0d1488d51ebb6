#pragma once

#include "common/Services.h"

#include <QDateTime>
#include <QList>
#include <QStringList>
#include <QTemporaryDir>

#include <deque>
#include <functional>
#include <memory>

// Records every prompt and answers from a script; unscripted prompts get Ok / cancel.
class FakePrompts final : public Prompts {
public:
    struct Shown {
        QString kind; // "message", "input", "openFile", "chooseFolder", "chooseColour"
        QString title;
        QString text;
        Icon icon = Icon::None;
        Buttons buttons = Buttons::Ok;
        QString proposed;
        // "title|text|icon number": one string a test can compare at once.
        QString line() const { return title + u'|' + text + u'|' + QString::number(int(icon)); }
    };

    QList<Shown> shown;
    std::deque<Answer> answers;
    std::deque<std::optional<QString>> inputs;
    std::deque<QString> files;
    std::deque<QString> folders;
    // Colour dialog answers in blue-green-red; nullopt (or none left) cancels.
    std::deque<std::optional<qint64>> colours;
    // Runs while a prompt is "open", to let a test act as the event loop would meanwhile.
    std::function<void(const Shown&)> whileOpen;

    const Shown& last() const { return shown.last(); }
    QStringList texts() const;
    QStringList lines() const;
    // The last prompt's line(), or an empty string when none was shown.
    QString lastLine() const { return shown.isEmpty() ? QString() : shown.last().line(); }

    Answer message(const QString& title, const QString& text, Icon icon, Buttons buttons) override;
    std::optional<QString> input(const QString& prompt, const QString& title, const QString& proposed) override;
    QString openFile(const QString& title, const QString& folder, const QString& filter) override;
    QString chooseFolder(const QString& title, const QString& folder) override;
    std::optional<qint64> chooseColour(const QString& title, qint64 currentBgr) override;

private:
    void record(Shown s);
};

class FakeDesktop final : public Desktop {
public:
    struct Started {
        QString program;
        QStringList arguments;
        QString workingFolder;
        Show show = Show::Normal;
    };
    QStringList opened;
    QList<Started> started;
    bool succeed = true;

    bool openWithShell(const QString& documentOrAddress) override;
    bool startProgram(const QString& program, const QStringList& arguments, const QString& workingFolder,
                      Show show) override;
    bool runBatch(const QString& batchFile, const QString& workingFolder, Show show) override;
};

class FakeSounds final : public Sounds {
public:
    QStringList played;
    void play(const QString& waveFile) override { played.append(waveFile); }
};

class FakeClock final : public Clock {
public:
    QDateTime current{QDate(2003, 11, 16), QTime(14, 5, 9)};
    QDateTime now() const override { return current; }
    QString timeText() const override { return current.time().toString(QStringLiteral("HH:mm:ss")); }
    QString dateText() const override { return current.date().toString(QStringLiteral("dd/MM/yyyy")); }
};

class FakeRandom final : public Random {
public:
    std::deque<int> values;
    int between(int low, int high) override;
};

// One of each double and a temporary program folder, handed out as Services.
struct TestServices {
    TestServices();
    QTemporaryDir dir;
    FakePrompts prompts;
    FakeDesktop desktop;
    FakeSounds sounds;
    FakeClock clock;
    FakeRandom random;
    Services services();
    QString file(const QString& backslashName) const;
};
