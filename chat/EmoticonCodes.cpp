#include "chat/EmoticonCodes.h"

namespace EmoticonCodes {

const QStringList& codes() {
    static const QStringList split = list.toString().split(u',');
    return split;
}

int pictureAt(QStringView text, qsizetype at) {
    if (at < 0 || at + codeLength > text.size())
        return 0;
    // Every code opens with ':' or ';'; checking that first keeps the common case (ordinary
    // text) at one comparison per character.
    const QChar first = text[at];
    if (first != u':' && first != u';')
        return 0;
    const QStringView candidate = text.sliced(at, codeLength);
    const QStringList& all = codes();
    for (qsizetype i = 0; i < all.size(); ++i) {
        if (candidate == all[i])
            return int(i + 1);
    }
    return 0;
}

} // namespace EmoticonCodes

QList<EmoticonHit> findEmoticons(QStringView text, qsizetype from) {
    QList<EmoticonHit> hits;
    if (from < 0)
        from = 0;
    for (qsizetype i = from; i + EmoticonCodes::codeLength <= text.size();) {
        if (const int picture = EmoticonCodes::pictureAt(text, i)) {
            hits.append({i, picture});
            // The code's characters are used up; the next one can only start after them.
            i += EmoticonCodes::codeLength;
        } else {
            ++i;
        }
    }
    return hits;
}
