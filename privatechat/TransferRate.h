#pragma once

#include <QtGlobal>

#include <optional>

// The rate of one direction of a transfer: the bytes moved since its first block over the time they
// took. A transfer over in a fraction of a second gets its true rate, and the last transfer's rate
// stays readable after it has ended.
class TransferRate {
public:
    // count: the bytes so far, at nowMs. A count of 0 ends the transfer; a count that went back, or
    // any count after an end, starts a new one.
    void update(qint64 count, qint64 nowMs);
    // Bytes a second at nowMs, once the count has grown over a measurable time. While the transfer
    // runs the time goes on, so the rate falls when it stalls; after its end it stays as it was.
    std::optional<double> bytesPerSecond(qint64 nowMs) const;
    // Whole seconds until total is reached at that rate; nothing while no rate is known or once
    // the transfer has ended.
    std::optional<qint64> secondsLeft(qint64 total, qint64 nowMs) const;
    bool isRunning() const { return m_running; }

private:
    bool m_running = false;
    qint64 m_firstCount = 0;
    qint64 m_firstAt = 0;
    qint64 m_lastCount = 0;
    qint64 m_lastAt = 0;
};
