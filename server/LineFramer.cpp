#include "server/LineFramer.h"

#include "chat/ChatProtocol.h"
#include "common/Windows1252.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

using namespace ChatProtocol;

// Every word a client sends, longest first so that "PMSG" wins over the "MSG" inside it, with the
// index of the field from which the message runs to its end (its free text, or a name or time as
// last field). A message glued on behind can only sit there; -1: never cut, as a password may
// hold anything.
constexpr std::array<std::pair<QLatin1StringView, int>, 10> ClientWords{{
    {FollowUserBack, 5},
    {FollowUser, 2},
    {NewAccount, -1},
    {Login, -1},
    {PrivateMsg, 2},
    {Nick, 1},
    {Ping, 1},
    {News, 2},
    {Msg, 1},
    {Ops, 1},
}};

int tailField(QStringView word) {
    for (const auto& [known, tail] : ClientWords) {
        if (word == known)
            return tail;
    }
    return -1;
}

// Where a client word followed by the separator starts at or after `from`, or -1.
qsizetype nextMessageStart(const QString& piece, qsizetype from) {
    for (qsizetype sep = piece.indexOf(Separator, from); sep >= 0; sep = piece.indexOf(Separator, sep + 1)) {
        for (const auto& [word, tail] : ClientWords) {
            const qsizetype start = sep - word.size();
            if (start >= from && QStringView(piece).sliced(start, word.size()) == word)
                return start;
        }
    }
    return -1;
}

} // namespace

namespace LineFramer {

QStringList splitMerged(const QString& piece) {
    QStringList messages;
    QString rest = piece;
    for (;;) {
        const qsizetype wordEnd = rest.indexOf(Separator);
        const int tail = wordEnd < 0 ? -1 : tailField(QStringView(rest).first(wordEnd));
        qsizetype tailStart = wordEnd;
        for (int field = 1; field < tail && tailStart >= 0; ++field)
            tailStart = rest.indexOf(Separator, tailStart + Separator.size());
        const qsizetype cut =
            tail < 0 || tailStart < 0 ? -1 : nextMessageStart(rest, tailStart + Separator.size());
        if (cut < 0) {
            messages.append(rest);
            return messages;
        }
        messages.append(rest.first(cut));
        rest = rest.sliced(cut);
    }
}

bool startsMessage(const QByteArray& bytes) {
    // The longest word is FOLLOWUSERBACK; only the head of a long read is looked at.
    const qsizetype wordEnd = bytes.first(std::min<qsizetype>(bytes.size(), 20)).indexOf("|\xBF|");
    const QLatin1StringView word(bytes.constData(), std::max<qsizetype>(wordEnd, 0));
    return wordEnd > 0 && std::any_of(ClientWords.begin(), ClientWords.end(),
                                      [&](const auto& known) { return known.first == word; });
}

QStringList messagesOf(const QByteArray& segment) {
    QStringList messages;
    for (const QByteArray& piece : segment.split('\n')) {
        QByteArray line = piece;
        if (line.endsWith('\r'))
            line.chop(1);
        if (!line.isEmpty())
            messages.append(splitMerged(Windows1252::decode(line)));
    }
    return messages;
}

} // namespace LineFramer
