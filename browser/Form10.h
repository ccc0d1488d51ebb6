#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

// Shown while a master list is being fetched; Stop cancels the fetch.
class Form10 : public QWidget {
    Q_OBJECT
public:
    // The title is taken from the browser's master-list caption when the dialog is loaded.
    Form10(const QString& masterListCaption, QWidget* parent = nullptr);

    QLabel* Picture1;
    QProgressBar* ProgressBar1;
    QLabel* lblError;
    QPushButton* Command1;

    // Bytes received so far; a total below 1 is unknown and shows a busy bar.
    void showProgress(qint64 received, qint64 total);
    void showError(const QString& text);

Q_SIGNALS:
    void stopRequested();

protected:
    void closeEvent(QCloseEvent* event) override;
};
