#pragma once

#include <QString>

#include <optional>

// How the program has always read numbers typed into fields or sent by game servers.
namespace NumberText {

// A whole decimal number with optional sign, fraction and exponent, blanks allowed around it
// ("  27015 ", "1.5e3"); nothing else counts as numeric.
bool isNumeric(const QString& text);

// The value of a numeric text; nullopt when isNumeric() is false.
std::optional<double> value(const QString& text);

// Rounds to the nearest 32-bit integer, halves to even (2.5 gives 2, 3.5 gives 4);
// nullopt when the text is not numeric or the result does not fit.
std::optional<qint32> toLong(const QString& text);

// The number at the start of a text after leading blanks, as far as it reads as one
// ("8\n3 45" gives 8, "abc" gives 0).
double leadingNumber(const QString& text);

// The shortest general form of a value: 12.5, 3.5, 100, 0, 1e+20.
QString general(double value);

} // namespace NumberText
