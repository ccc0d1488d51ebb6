#include "server/HttpRequestHead.h"

#include <QByteArrayView>
#include <QList>

namespace {

bool isTokenChar(char c) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    return QByteArrayView("!#$%&'*+-.^_`|~").contains(c);
}

bool isToken(QByteArrayView text) {
    if (text.isEmpty())
        return false;
    for (const char c : text) {
        if (!isTokenChar(c))
            return false;
    }
    return true;
}

bool isFieldValueChar(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte == '\t' || (byte >= 0x20 && byte != 0x7F);
}

// "HTTP/" DIGIT "." DIGIT; false when it is not of that form.
bool readVersion(QByteArrayView text, int* major, int* minor) {
    if (text.size() != 8 || !text.startsWith("HTTP/") || text.at(6) != '.')
        return false;
    const char ma = text.at(5), mi = text.at(7);
    if (ma < '0' || ma > '9' || mi < '0' || mi > '9')
        return false;
    *major = ma - '0';
    *minor = mi - '0';
    return true;
}

bool hasToken(QByteArrayView list, QByteArrayView token) {
    for (const QByteArray& item : list.toByteArray().split(',')) {
        if (item.trimmed().compare(token, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

// The request line without its CR LF: method, target and version, one blank apart. A target in
// absolute form ("http://host:port/path", which an HTTP/1.1 server must accept, as a proxy
// would send it) is kept as its path.
HttpRequestHead::Result readRequestLine(const QByteArray& line, HttpRequestHead* head) {
    const QList<QByteArray> parts = line.split(' ');
    if (parts.size() != 3 || !isToken(parts.at(0)))
        return HttpRequestHead::Result::Malformed;
    QByteArray target = parts.at(1);
    for (const char c : target) {
        if (static_cast<unsigned char>(c) <= 0x20 || static_cast<unsigned char>(c) >= 0x7F)
            return HttpRequestHead::Result::Malformed;
    }
    static constexpr QByteArrayView Scheme = "http://";
    if (target.size() > Scheme.size() &&
        QByteArrayView(target).first(Scheme.size()).compare(Scheme, Qt::CaseInsensitive) == 0) {
        const qsizetype path = target.indexOf('/', Scheme.size());
        target = path < 0 ? QByteArray("/") : target.mid(path);
    }
    if (!target.startsWith('/'))
        return HttpRequestHead::Result::Malformed;
    int major = 0;
    int minor = 0;
    if (!readVersion(parts.at(2), &major, &minor))
        return HttpRequestHead::Result::Malformed;
    if (major != 1)
        return HttpRequestHead::Result::BadVersion;
    head->method = parts.at(0);
    head->target = target;
    head->minorVersion = minor;
    return HttpRequestHead::Result::Complete;
}

} // namespace

HttpRequestHead::Result HttpRequestHead::parse(const QByteArray& buffer, qsizetype maxBytes,
                                               HttpRequestHead* head) {
    const qsizetype end = buffer.indexOf("\r\n\r\n");
    if (end < 0 || end + 4 > maxBytes) {
        // What cannot become a request is refused as soon as it is seen, not after 8 KB or at
        // the deadline: a method that is not a token (a TLS hello, binary noise), a bare LF or
        // a stray CR.
        const qsizetype methodEnd = buffer.indexOf(' ');
        const QByteArrayView method = QByteArrayView(buffer).first(methodEnd < 0 ? buffer.size() : methodEnd);
        if (!method.isEmpty() && !isToken(method))
            return Result::Malformed;
        const qsizetype seen = std::min(buffer.size(), maxBytes);
        for (qsizetype i = 0; i < seen; ++i) {
            if ((buffer.at(i) == '\n' && (i == 0 || buffer.at(i - 1) != '\r')) ||
                (buffer.at(i) == '\r' && i + 1 < buffer.size() && buffer.at(i + 1) != '\n'))
                return Result::Malformed;
        }
        // A complete request line is judged at once: one without a version (HTTP/0.9, which
        // has no header fields to wait for) gets its answer now, not at the deadline.
        if (const qsizetype lineEnd = buffer.indexOf("\r\n"); lineEnd >= 0 && lineEnd < maxBytes) {
            HttpRequestHead line;
            if (const Result result = readRequestLine(buffer.left(lineEnd), &line);
                result != Result::Complete)
                return result;
        }
        return buffer.size() >= maxBytes ? Result::TooLarge : Result::Incomplete;
    }
    const QList<QByteArray> lines = buffer.left(end).split('\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        // Every line ends in CR LF (the last one's CR LF is part of the blank line's) and holds
        // no other CR.
        const bool last = i + 1 == lines.size();
        if ((!last && !lines.at(i).endsWith('\r')) || lines.at(i).count('\r') > (last ? 0 : 1))
            return Result::Malformed;
    }

    if (const Result result = readRequestLine(lines.first().chopped(lines.size() > 1 ? 1 : 0), head);
        result != Result::Complete)
        return result;
    const int minor = head->minorVersion;

    int hosts = 0;
    bool keepAlive = false;
    bool close = false;
    bool hasBody = false;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = i + 1 < lines.size() ? lines.at(i).chopped(1) : lines.at(i);
        const qsizetype colon = line.indexOf(':');
        // No name, a blank before the colon, or a folded line (starting with a blank).
        if (colon <= 0 || !isToken(QByteArrayView(line).first(colon)))
            return Result::Malformed;
        const QByteArray name = line.left(colon).toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        for (const char c : value) {
            if (!isFieldValueChar(c))
                return Result::Malformed;
        }
        if (name == "host")
            ++hosts;
        else if (name == "connection") {
            close = close || hasToken(value, "close");
            keepAlive = keepAlive || hasToken(value, "keep-alive");
        } else if (name == "transfer-encoding")
            hasBody = true;
        else if (name == "content-length") {
            bool ok = false;
            const qlonglong size = value.toLongLong(&ok);
            if (!ok || size < 0 || value.startsWith('+'))
                return Result::Malformed;
            hasBody = hasBody || size > 0;
        }
    }
    // HTTP/1.1 requires exactly one Host field.
    if (minor >= 1 ? hosts != 1 : hosts > 1)
        return Result::Malformed;

    head->closeAfter = close || (minor == 0 && !keepAlive);
    head->hasBody = hasBody;
    head->length = end + 4;
    return Result::Complete;
}
