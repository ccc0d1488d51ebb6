#include "common/Windows1252.h"

#include <array>

namespace {

// 0x80..0x9F are the only bytes where Windows-1252 differs from Latin-1. Unassigned bytes
// (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to the C1 control of the same value, as Windows does.
constexpr std::array<char16_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char encodeOne(char16_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return static_cast<char>(c);
    for (std::size_t i = 0; i < kHighControls.size(); ++i) {
        if (kHighControls[i] == c)
            return static_cast<char>(0x80 + i);
    }
    return '?';
}

} // namespace

namespace Windows1252 {

QByteArray encode(const QString& text) {
    QByteArray out;
    out.reserve(text.size());
    for (const QChar c : text)
        out.append(encodeOne(c.unicode()));
    return out;
}

QString decode(const QByteArray& bytes) {
    QString out;
    out.reserve(bytes.size());
    for (const char b : bytes) {
        const auto u = static_cast<unsigned char>(b);
        out.append(QChar(u >= 0x80 && u < 0xA0 ? kHighControls[u - 0x80] : char16_t(u)));
    }
    return out;
}

} // namespace Windows1252
