#pragma once

#include <QByteArray>

// The head of one HTTP/1.x request (request line and header fields), read strictly: the
// master-list server only needs GET and HEAD of a path, so anything out of the ordinary is
// refused rather than guessed at.
struct HttpRequestHead {
    enum class Result {
        Incomplete, // no blank line yet: read more
        Complete,   // the head is in the fields below; `length` bytes of the buffer were used
        Malformed,  // answer 400 and close
        BadVersion, // a well-formed version other than 1.x: answer 505 and close
        TooLarge,   // no end within the limit: answer 431 and close
    };

    QByteArray method;
    QByteArray target;
    int minorVersion = 1;
    // The client asked to close after this response (or HTTP/1.0 without keep-alive).
    bool closeAfter = false;
    // A body follows (Content-Length above 0, or Transfer-Encoding); we never read one.
    bool hasBody = false;
    qsizetype length = 0;

    // Reads the head at the start of `buffer`; a head longer than maxBytes is TooLarge.
    static Result parse(const QByteArray& buffer, qsizetype maxBytes, HttpRequestHead* head);
};
