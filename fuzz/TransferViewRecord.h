#pragma once

#include "privatechat/TransferView.h"

#include <QHash>

#include <functional>

// The transfer frames as plain values; `onPath` sees every path shown.
class TransferViewRecord final : public TransferView {
public:
    std::function<void(const QString&)> onPath;

    void setPath(Direction d, const QString& p) override {
        if (onPath)
            onPath(p);
        m_path[d] = p;
    }
    QString path(Direction d) const override { return m_path.value(d); }
    void setStatus(Direction, const QString&) override {}
    void setSize(Direction d, const QString& s) override { m_size[d] = s; }
    QString size(Direction d) const override { return m_size.value(d); }
    void setCount(Direction d, qint64 bytes) override { m_count[d] = bytes; }
    qint64 count(Direction d) const override { return m_count.value(d); }
    void setMaximum(Direction d, qint64 m) override { m_maximum[d] = m; }
    qint64 maximum(Direction d) const override { return m_maximum.value(d); }
    void setProgress(Direction d, qint64 value) override {
        // A progress bar takes values from 0 to its maximum only.
        if (value < 0 || value > std::max<qint64>(0, m_maximum.value(d)))
            __builtin_trap();
    }

private:
    QHash<Direction, QString> m_path, m_size;
    QHash<Direction, qint64> m_count, m_maximum;
};
