#include "server/NameRules.h"

#include "common/Windows1252.h"

namespace NameRules {

bool isValidName(const QString& name) {
    if (name.isEmpty() || name.size() > MaxNameLength)
        return false;
    for (const QChar c : name) {
        if (c.isSpace() || c.category() == QChar::Other_Control || c == u'<' || c == u'>' || c == u'|')
            return false;
    }
    // A character without a Windows-1252 byte would reach the other members as '?'.
    return Windows1252::decode(Windows1252::encode(name)) == name;
}

QString key(const QString& name) {
    return name.toCaseFolded();
}

} // namespace NameRules
