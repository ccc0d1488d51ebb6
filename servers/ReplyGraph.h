#pragma once

#include <QWidget>

#include <deque>
#include <optional>

// A small picture of the replies seen since the monitor opened: the player count as bars and the
// reply time as a line, the newest on the right.
class ReplyGraph : public QWidget {
    Q_OBJECT
public:
    static constexpr std::size_t MaxSamples = 60;

    explicit ReplyGraph(QWidget* parent = nullptr);

    void addReply(int players, std::optional<qint64> replyMs);
    std::size_t sampleCount() const { return m_samples.size(); }

    QSize sizeHint() const override { return {240, 70}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Sample {
        int players;
        std::optional<qint64> replyMs;
    };
    std::deque<Sample> m_samples;
};
