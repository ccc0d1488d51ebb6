#pragma once

#include "privatechat/TransferRate.h"
#include "privatechat/TransferView.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

#include <array>

class QGroupBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;

// The program's one transfer window: a download frame and an upload frame. The state machines write
// their figures at every block; the widgets follow a few times a second, so the display never slows
// a transfer down.
class Form11 : public QWidget, public TransferView {
    Q_OBJECT
public:
    explicit Form11(QWidget* parent = nullptr);

    void setPath(Direction d, const QString& path) override;
    QString path(Direction d) const override { return frame(d).path; }
    void setStatus(Direction d, const QString& status) override;
    void setSize(Direction d, const QString& size) override;
    QString size(Direction d) const override { return frame(d).size; }
    void setCount(Direction d, qint64 bytes) override;
    qint64 count(Direction d) const override { return frame(d).count; }
    void setMaximum(Direction d, qint64 maximum) override;
    qint64 maximum(Direction d) const override { return frame(d).maximum; }
    void setProgress(Direction d, qint64 value) override;
    qint64 progress(Direction d) const { return frame(d).progress; }
    QString status(Direction d) const { return frame(d).status; }

Q_SIGNALS:
    void cancelDownload();
    void cancelUpload();
    // The window was closed by the user.
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    struct Frame {
        QString path;
        QString status;
        QString size = QStringLiteral("0");
        qint64 count = 0;
        qint64 maximum = 0;
        qint64 progress = 0;
        TransferRate rate;
        QGroupBox* box = nullptr;
        QLineEdit* pathBox = nullptr;
        QLabel* statusLabel = nullptr;
        QLabel* sizeLabel = nullptr;
        QLabel* countLabel = nullptr;
        QLabel* rateLabel = nullptr;
        QLabel* timeLeftLabel = nullptr;
        QProgressBar* bar = nullptr;
        QPushButton* cancel = nullptr;
    };
    Frame& frame(Direction d) { return m_frames[std::size_t(d)]; }
    const Frame& frame(Direction d) const { return m_frames[std::size_t(d)]; }
    QGroupBox* buildFrame(Frame& f, const QString& caption, const QString& prefix, const QString& pathName);
    void changed();
    void refresh();
    void refreshFrame(Frame& f, qint64 now);

    std::array<Frame, 2> m_frames;
    QTimer m_refresh;
    QElapsedTimer m_clock;
};
