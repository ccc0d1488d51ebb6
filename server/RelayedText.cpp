#include "server/RelayedText.h"

namespace RelayedText {

QString withoutControls(QString text) {
    text.removeIf([](QChar c) { return c.category() == QChar::Other_Control && c != u'\t'; });
    return text;
}

QStringList withoutControls(QStringList fields) {
    for (QString& field : fields)
        field = withoutControls(std::move(field));
    return fields;
}

} // namespace RelayedText
