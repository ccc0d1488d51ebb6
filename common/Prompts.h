#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// Everything the program asks or tells the person in a dialog goes through this seam,
// so that tests can answer and read the exact texts.
class Prompts {
public:
    enum class Icon { None, Information, Exclamation, Critical, Question };
    enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel };
    enum class Answer { Ok, Cancel, Yes, No };

    virtual ~Prompts() = default;

    // A modal message box.
    virtual Answer message(const QString& title, const QString& text, Icon icon = Icon::None,
                           Buttons buttons = Buttons::Ok) = 0;
    // An input box; nullopt when the person cancels.
    virtual std::optional<QString> input(const QString& prompt, const QString& title,
                                         const QString& proposed) = 0;
    // An open-file dialog; an empty string when cancelled.
    virtual QString openFile(const QString& title, const QString& folder, const QString& filter) = 0;
    // A folder choice; an empty string when cancelled.
    virtual QString chooseFolder(const QString& title, const QString& folder) = 0;
    // The colour dialog, starting at a blue-green-red colour; nullopt when cancelled.
    virtual std::optional<qint64> chooseColour(const QString& title, qint64 currentBgr) = 0;
};
