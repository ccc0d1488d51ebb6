#pragma once

#include "common/Services.h"

#include <QString>

#include <memory>

// The real implementations of the services, as the installed program uses them.
class QtPrompts final : public Prompts {
public:
    Answer message(const QString& title, const QString& text, Icon icon, Buttons buttons) override;
    std::optional<QString> input(const QString& prompt, const QString& title, const QString& proposed) override;
    QString openFile(const QString& title, const QString& folder, const QString& filter) override;
    QString chooseFolder(const QString& title, const QString& folder) override;
    std::optional<qint64> chooseColour(const QString& title, qint64 currentBgr) override;
};

class SystemDesktop final : public Desktop {
public:
    bool openWithShell(const QString& documentOrAddress) override;
    bool startProgram(const QString& program, const QStringList& arguments, const QString& workingFolder,
                      Show show) override;
    bool runBatch(const QString& batchFile, const QString& workingFolder, Show show) override;
};

// Plays through the audio back end module, loaded when the first sound plays; without the module
// (or an audio device) sounds are silently skipped.
class MediaSounds final : public Sounds {
public:
    MediaSounds();
    ~MediaSounds() override;
    void play(const QString& waveFile) override;

private:
    static std::unique_ptr<Sounds> loadBackEnd();

    bool m_triedBackEnd = false;
    std::unique_ptr<Sounds> m_backEnd;
};

class SystemClock final : public Clock {
public:
    QDateTime now() const override;
    QString timeText() const override;
    QString dateText() const override;
};

class SystemRandom final : public Random {
public:
    int between(int low, int high) override;
};

// Owns one of each, for main().
struct SystemServices {
    explicit SystemServices(ProgramFolder folder);
    QtPrompts prompts;
    SystemDesktop desktop;
    MediaSounds sounds;
    SystemClock clock;
    SystemRandom random;
    ProgramFolder folder;
    Services services() { return Services{prompts, desktop, sounds, clock, random, folder}; }
};
