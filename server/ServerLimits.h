#pragma once

#include <QtGlobal>

// Every bound the server puts on what one member or one address may cost the others.
struct ServerLimits {
    // A received message longer than this is dropped whole and its sender disconnected.
    qint64 maxLineBytes = 8 * 1024;
    // The unterminated end of a read that may have been cut waits this long for the rest.
    int cutReadWaitMs = 200;
    // At most floodLines messages within floodWindowMs; the rest are refused with a notice.
    // Answers to the server's PINGs are free; any other PING counts.
    int floodLines = 10;
    int floodWindowMs = 5000;
    // Before sign-on a connection may send only this many within the same window; one more
    // closes it with a notice.
    int preSignOnLines = 5;
    // Connections held open at once from one address; 0 means no cap.
    int connectionsPerAddress = 8;
    // Accounts one address may create; 0 means no cap.
    int accountsPerAddress = 2;
    // A member whose unsent data passes this is dropped rather than allowed to stall the room.
    qint64 maxPendingOutputBytes = 256 * 1024;
    // A member sent away (kicked, banned, refused) has this long to read its last lines.
    int closeGraceMs = 5000;
    // The master-list web server: the longest request head; the time a connection has to send
    // a request (or to read an answer) before it is closed; connections per address and in all.
    qint64 httpMaxHeadBytes = 8 * 1024;
    int httpIdleMs = 10 * 1000;
    int httpConnectionsPerAddress = 8;
    int httpMaxConnections = 256;
    // TLS ports: a handshake not done within this is cut off; at most this many run at once per
    // port, the rest wait their turn in the kernel's queue.
    int tlsHandshakeMs = 10 * 1000;
    int tlsHandshakesAtOnce = 16;
    // A PING goes out every interval; a member silent for three intervals is dropped.
    int keepAliveMs = 60 * 1000;
    // Every MSG counts as ending the client's read, not only "/me" lines: nothing is lost to an
    // ignore list, at the price of one round trip per public line and member.
    bool strictDelivery = false;
    // After a few failed sign-ons from one address (or on one name), the next attempts are checked
    // one spacing apart: this long at first, doubling with each failure. 0 turns it off.
    int signOnDelayMs = 1000;
    // How often an account, and an address, may sign on; 0 turns either off.
    int signOnAgainMs = 2000;
    int signOnsPerAddressPerMinute = 12;
};
