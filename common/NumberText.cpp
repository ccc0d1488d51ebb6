#include "common/NumberText.h"

#include <QRegularExpression>

#include <cmath>
#include <limits>

namespace NumberText {

namespace {
const QRegularExpression& numericPattern() {
    static const QRegularExpression pattern(
        QStringLiteral("^[ \\t]*([+-]?(?:\\d+\\.?\\d*|\\.\\d+)(?:[eE][+-]?\\d+)?)[ \\t]*$"));
    return pattern;
}
} // namespace

bool isNumeric(const QString& text) { return value(text).has_value(); }

std::optional<double> value(const QString& text) {
    const QRegularExpressionMatch m = numericPattern().match(text);
    if (!m.hasMatch())
        return std::nullopt;
    bool ok = false;
    const double v = m.captured(1).toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return std::nullopt;
    return v;
}

std::optional<qint32> toLong(const QString& text) {
    const std::optional<double> v = value(text);
    if (!v)
        return std::nullopt;
    // nearbyint follows the default rounding mode, round half to even.
    const double rounded = std::nearbyint(*v);
    if (rounded < double(std::numeric_limits<qint32>::min()) || rounded > double(std::numeric_limits<qint32>::max()))
        return std::nullopt;
    return qint32(rounded);
}

double leadingNumber(const QString& text) {
    static const QRegularExpression leading(
        QStringLiteral("^[ \\t\\r\\n]*([+-]?(?:\\d+\\.?\\d*|\\.\\d+)(?:[eE][+-]?\\d+)?)"));
    const QRegularExpressionMatch m = leading.match(text);
    if (!m.hasMatch())
        return 0;
    const double v = m.captured(1).toDouble();
    return std::isfinite(v) ? v : 0;
}

QString general(double v) {
    if (v == 0)
        return QStringLiteral("0");
    return QString::number(v, 'g', 15);
}

} // namespace NumberText
