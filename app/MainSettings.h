#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// "\Quorvel.ini": not a sectioned INI file but fifteen lines in a fixed order. Lines 1 to 11 are the
// values below; every line after them is an identification entry. Reading stops at the first line
// that is missing or does not read as its type; what was read before it is kept.
struct MainSettings {
    static constexpr int IdentificationLinesRead = 4;

    std::optional<QString> nickname;          // 1: the nickname field
    std::optional<QString> serverHost;        // 2: the chat server's host (the server box)
    std::optional<qint64> serverPort;         // 3: the chat server's port
    std::optional<qint64> displayBackground;  // 4: chat display background colour
    std::optional<qint64> displayFontSize;    // 5: chat display font size in points
    std::optional<qint64> displayText;        // 6: chat display text colour
    std::optional<qint64> userListBackground; // 7: user list background colour
    std::optional<qint64> inputBackground;    // 8: input line background colour
    std::optional<qint64> inputText;          // 9: input line text colour
    std::optional<qint64> boxBackground;      // 10: nickname field and address box background
    std::optional<qint64> boxText;            // 11: address box text colour
    QStringList identification;               // 12 onward

    // Reads at most four identification entries, as the program always has.
    static MainSettings parse(const QStringList& lines);
    static MainSettings load(const QString& path);

    // Lines 1 to 11 (a value that was never set is written as an empty text or 0), then every entry.
    QStringList lines() const;
    bool save(const QString& path) const;
};
