#include "privatechat/TransferRate.h"

#include <algorithm>

void TransferRate::update(qint64 count, qint64 nowMs) {
    if (count <= 0) {
        m_running = false;
        return;
    }
    // The first block's own time is not known, so the clock starts once it is there.
    if (!m_running || count < m_lastCount) {
        m_running = true;
        m_firstCount = m_lastCount = count;
        m_firstAt = m_lastAt = nowMs;
        return;
    }
    m_lastCount = count;
    m_lastAt = nowMs;
}

std::optional<double> TransferRate::bytesPerSecond(qint64 nowMs) const {
    const qint64 until = m_running ? std::max(nowMs, m_lastAt) : m_lastAt;
    if (until <= m_firstAt || m_lastCount <= m_firstCount)
        return std::nullopt;
    return double(m_lastCount - m_firstCount) * 1000.0 / double(until - m_firstAt);
}

std::optional<qint64> TransferRate::secondsLeft(qint64 total, qint64 nowMs) const {
    const auto rate = bytesPerSecond(nowMs);
    if (!m_running || !rate || total <= m_lastCount)
        return std::nullopt;
    return qint64(double(total - m_lastCount) / *rate + 0.5);
}
