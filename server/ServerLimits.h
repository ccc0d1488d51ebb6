#pragma once

#include <QtGlobal>

// Every bound the server puts on what one member or one address may cost the others.
struct ServerLimits {
    // A received segment longer than this is dropped whole and its sender disconnected.
    qint64 maxLineBytes = 8 * 1024;
    // At most floodLines messages within floodWindowMs; the rest are refused with a notice.
    int floodLines = 10;
    int floodWindowMs = 5000;
    // Connections held open at once from one address; 0 means no cap.
    int connectionsPerAddress = 8;
    // Accounts one address may create; 0 means no cap.
    int accountsPerAddress = 2;
    // A member whose unsent data passes this is dropped rather than allowed to stall the room.
    qint64 maxPendingOutputBytes = 256 * 1024;
    // A PING goes out every interval; a member silent for three intervals is dropped.
    int keepAliveMs = 60 * 1000;
    // After a few failed sign-ons from one address (or on one name), the next attempts are checked
    // one spacing apart: this long at first, doubling with each failure. 0 turns it off.
    int signOnDelayMs = 1000;
};
