#include "chat/PasswordRule.h"

bool PasswordRule::isAcceptable(const QString& entry) {
    bool ok = false;
    const double value = entry.trimmed().toDouble(&ok);
    return ok && value > 0;
}
