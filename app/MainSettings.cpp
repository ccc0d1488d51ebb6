#include "app/MainSettings.h"

#include "common/TextFile.h"

namespace {

// Whole numbers are read as the old sequential Input # did: surrounding blanks allowed,
// anything else ends the reading.
std::optional<qint64> readNumber(const QString& line) {
    bool ok = false;
    const qint64 value = line.trimmed().toLongLong(&ok);
    if (!ok)
        return std::nullopt;
    return value;
}

} // namespace

MainSettings MainSettings::parse(const QStringList& lines) {
    MainSettings s;
    std::optional<qint64>* numbers[] = {&s.serverPort,         &s.displayBackground, &s.displayFontSize,
                                        &s.displayText,        &s.userListBackground, &s.inputBackground,
                                        &s.inputText,          &s.boxBackground,     &s.boxText};
    if (lines.size() < 1)
        return s;
    s.nickname = lines.at(0);
    if (lines.size() < 2)
        return s;
    s.serverHost = lines.at(1);
    qsizetype next = 2;
    for (std::optional<qint64>* number : numbers) {
        if (next >= lines.size())
            return s;
        *number = readNumber(lines.at(next++));
        if (!number->has_value())
            return s;
    }
    for (int i = 0; i < IdentificationLinesRead && next < lines.size(); ++i)
        s.identification.append(lines.at(next++));
    return s;
}

MainSettings MainSettings::load(const QString& path) { return parse(TextFile::readLines(path)); }

QStringList MainSettings::lines() const {
    auto number = [](const std::optional<qint64>& v) { return QString::number(v.value_or(0)); };
    QStringList out{nickname.value_or(QString()),
                    serverHost.value_or(QString()),
                    number(serverPort),
                    number(displayBackground),
                    number(displayFontSize),
                    number(displayText),
                    number(userListBackground),
                    number(inputBackground),
                    number(inputText),
                    number(boxBackground),
                    number(boxText)};
    out += identification;
    return out;
}

bool MainSettings::save(const QString& path) const { return TextFile::writeLines(path, lines()); }
