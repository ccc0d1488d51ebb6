#include "server/NameRules.h"

#include "common/Windows1252.h"

namespace NameRules {

namespace {

bool isVisible(QChar c) {
    switch (c.category()) {
    case QChar::Letter_Uppercase:
    case QChar::Letter_Lowercase:
    case QChar::Letter_Titlecase:
    case QChar::Letter_Modifier:
    case QChar::Letter_Other:
    case QChar::Number_DecimalDigit:
    case QChar::Number_Letter:
    case QChar::Number_Other:
    case QChar::Punctuation_Connector:
    case QChar::Punctuation_Dash:
    case QChar::Punctuation_Open:
    case QChar::Punctuation_Close:
    case QChar::Punctuation_InitialQuote:
    case QChar::Punctuation_FinalQuote:
    case QChar::Punctuation_Other:
    case QChar::Symbol_Math:
    case QChar::Symbol_Currency:
    case QChar::Symbol_Modifier:
    case QChar::Symbol_Other:
        return true;
    default:
        return false;
    }
}

} // namespace

bool isValidName(const QString& name) {
    if (name.isEmpty() || name.size() > MaxNameLength)
        return false;
    for (const QChar c : name) {
        if (!isVisible(c) || c == u'<' || c == u'>' || c == u'|')
            return false;
    }
    // A character without a Windows-1252 byte would reach the other members as '?'.
    return Windows1252::decode(Windows1252::encode(name)) == name;
}

bool isValidAccountName(const QString& name) {
    return isValidName(name) && !name.contains(SessionTagMark);
}

bool isSessionName(const QString& name, const QString& account) {
    const QString prefix = key(account) + SessionTagMark;
    const QString nameKey = key(name);
    return isValidName(name) && nameKey.size() > prefix.size() && nameKey.startsWith(prefix);
}

QString key(const QString& name) {
    QString folded = name.normalized(QString::NormalizationForm_KC).toCaseFolded();
    folded.removeIf([](QChar c) { return !isVisible(c); });
    return folded;
}

QString lookAlikeKey(const QString& name) {
    QString folded;
    for (const QChar c : key(name).normalized(QString::NormalizationForm_D)) {
        if (c.category() == QChar::Mark_NonSpacing)
            continue; // an accent
        switch (c.unicode()) {
        case u'i':
        case u'1':
        case u'|':
            folded += u'l';
            break;
        case u'0':
            folded += u'o';
            break;
        default:
            folded += c;
        }
    }
    return folded;
}

} // namespace NameRules
