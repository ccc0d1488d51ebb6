#include "servers/ReplyGraph.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

ReplyGraph::ReplyGraph(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("ReplyGraph"));
    setAccessibleName(QStringLiteral("Players and reply time"));
    setAccessibleDescription(QStringLiteral("No reply yet"));
    setMinimumHeight(50);
}

void ReplyGraph::addReply(int players, std::optional<qint64> replyMs) {
    m_samples.push_back({players, replyMs});
    if (m_samples.size() > MaxSamples)
        m_samples.pop_front();
    // What the picture shows, in words, for those who cannot see it.
    setAccessibleDescription(QStringLiteral("Last reply: %1 players%2; %3 replies shown")
                                 .arg(players)
                                 .arg(replyMs ? QStringLiteral(", %1 ms").arg(*replyMs) : QString())
                                 .arg(m_samples.size()));
    update();
}

void ReplyGraph::paintEvent(QPaintEvent*) {
    QPainter p(this);
    const QRectF area = QRectF(rect()).adjusted(2, 14, -2, -2);
    p.fillRect(rect(), palette().base());
    p.setPen(palette().text().color());
    if (m_samples.empty()) {
        p.drawText(rect(), Qt::AlignCenter, QStringLiteral("No reply yet"));
        return;
    }
    int mostPlayers = 1;
    qint64 slowest = 1;
    for (const Sample& s : m_samples) {
        mostPlayers = std::max(mostPlayers, s.players);
        slowest = std::max(slowest, s.replyMs.value_or(0));
    }
    const Sample& last = m_samples.back();
    p.drawText(QRectF(rect()).adjusted(3, 0, -3, 0), Qt::AlignTop | Qt::AlignLeft,
               QStringLiteral("Players %1 (max %2)").arg(last.players).arg(mostPlayers));
    const QColor lineColour = palette().highlight().color();
    p.setPen(lineColour);
    p.drawText(QRectF(rect()).adjusted(3, 0, -3, 0), Qt::AlignTop | Qt::AlignRight,
               last.replyMs ? QStringLiteral("%1 ms").arg(*last.replyMs) : QStringLiteral("- ms"));

    const qreal step = area.width() / qreal(MaxSamples);
    const qreal left = area.right() - step * qreal(m_samples.size());
    QColor barColour = palette().text().color();
    barColour.setAlpha(90);
    QPainterPath times;
    for (std::size_t i = 0; i < m_samples.size(); ++i) {
        const Sample& s = m_samples[i];
        const qreal x = left + step * qreal(i);
        const qreal barHeight = area.height() * s.players / mostPlayers;
        p.fillRect(QRectF(x, area.bottom() - barHeight, std::max<qreal>(step - 1, 1), barHeight), barColour);
        if (!s.replyMs)
            continue;
        const QPointF point(x + step / 2, area.bottom() - area.height() * qreal(*s.replyMs) / qreal(slowest));
        if (times.isEmpty())
            times.moveTo(point);
        else
            times.lineTo(point);
    }
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(lineColour, 1.5));
    p.drawPath(times);
}
