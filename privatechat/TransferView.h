#pragma once

#include <QString>

// What the transfer state machines show: one frame per direction with a path, a status, the size as
// announced, the running count, and a progress bar. The running counts live in the view, as they always
// have: every update reads the count back, adds to it and writes it again.
class TransferView {
public:
    enum class Direction { Download, Upload };

    virtual ~TransferView() = default;

    virtual void setPath(Direction d, const QString& path) = 0;
    virtual QString path(Direction d) const = 0;
    virtual void setStatus(Direction d, const QString& status) = 0;
    // The size label's text, exactly as received or measured.
    virtual void setSize(Direction d, const QString& size) = 0;
    virtual QString size(Direction d) const = 0;
    virtual void setCount(Direction d, qint64 bytes) = 0;
    virtual qint64 count(Direction d) const = 0;
    virtual void setMaximum(Direction d, qint64 maximum) = 0;
    virtual qint64 maximum(Direction d) const = 0;
    virtual void setProgress(Direction d, qint64 value) = 0;
};
