#include "privatechat/Form11.h"

#include "common/AccessibleWindows.h"

#include <QCloseEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <limits>

namespace {
constexpr int kRefreshMs = 200;

QString timeText(qint64 seconds) {
    const qint64 h = seconds / 3600, m = seconds / 60 % 60, s = seconds % 60;
    const QString ms =
        QStringLiteral("%1:%2").arg(m, h ? 2 : 1, 10, QLatin1Char('0')).arg(s, 2, 10, QLatin1Char('0'));
    return h ? QString::number(h) + u':' + ms : ms;
}

// Progress bars hold ints; larger files are shown in proportion.
int barValue(qint64 value, qint64 maximum) {
    constexpr qint64 top = std::numeric_limits<int>::max();
    return maximum <= top ? int(value) : int(double(value) / double(maximum) * double(top));
}
} // namespace

Form11::Form11(QWidget* parent)
    : QWidget(parent, Qt::Window) {
    setObjectName(QStringLiteral("Form11"));
    AccessibleWindows::presentAsWindows();
    setWindowTitle(QStringLiteral("File Send"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buildFrame(frame(Direction::Download), QStringLiteral("Downlaoding"),
                                 QStringLiteral("Download"), QStringLiteral("Saving to")));
    layout->addWidget(buildFrame(frame(Direction::Upload), QStringLiteral("Uploading"),
                                 QStringLiteral("Upload"), QStringLiteral("Sending")));
    connect(frame(Direction::Download).cancel, &QPushButton::clicked, this, &Form11::cancelDownload);
    connect(frame(Direction::Upload).cancel, &QPushButton::clicked, this, &Form11::cancelUpload);
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(kRefreshMs);
    connect(&m_refresh, &QTimer::timeout, this, &Form11::refresh);
    m_clock.start();
    refresh();
    resize(460, 360);
}

QGroupBox* Form11::buildFrame(Frame& f, const QString& caption, const QString& prefix,
                              const QString& pathName) {
    f.box = new QGroupBox(caption, this);
    f.box->setObjectName(QStringLiteral("fra") + prefix);
    auto named = [&](auto* w, const QString& name) {
        w->setObjectName(name.arg(prefix));
        return w;
    };
    f.pathBox = named(new QLineEdit(f.box), QStringLiteral("txt%1Path"));
    f.pathBox->setReadOnly(true);
    f.statusLabel = named(new QLabel(f.box), QStringLiteral("lbl%1Status"));
    f.sizeLabel = named(new QLabel(f.size, f.box), QStringLiteral("lbl%1Size"));
    f.countLabel = named(new QLabel(QStringLiteral("0"), f.box), QStringLiteral("lbl%1Count"));
    f.rateLabel = named(new QLabel(f.box), QStringLiteral("lbl%1Rate"));
    f.timeLeftLabel = named(new QLabel(f.box), QStringLiteral("lbl%1TimeLeft"));
    f.bar = named(new QProgressBar(f.box), QStringLiteral("pb%1"));
    f.bar->setRange(0, 0);
    f.bar->setAccessibleName(caption);
    f.cancel = named(new QPushButton(QStringLiteral("Cancel"), f.box), QStringLiteral("cmd%1Cancel"));
    auto* form = new QFormLayout(f.box);
    auto row = [&](const QString& label, QWidget* field) {
        auto* l = new QLabel(label, f.box);
        l->setBuddy(field);
        form->addRow(l, field);
        field->setAccessibleName(QString(label).remove(u'&'));
    };
    row(QStringLiteral("&") + pathName, f.pathBox);
    row(QStringLiteral("Status"), f.statusLabel);
    row(QStringLiteral("Size"), f.sizeLabel);
    row(QStringLiteral("Bytes"), f.countLabel);
    row(QStringLiteral("Rate"), f.rateLabel);
    row(QStringLiteral("Time left"), f.timeLeftLabel);
    form->addRow(f.bar);
    form->addRow(f.cancel);
    return f.box;
}

void Form11::setPath(Direction d, const QString& path) {
    frame(d).path = path;
    changed();
}

void Form11::setStatus(Direction d, const QString& status) {
    frame(d).status = status;
    changed();
}

void Form11::setSize(Direction d, const QString& size) {
    frame(d).size = size;
    changed();
}

void Form11::setCount(Direction d, qint64 bytes) {
    frame(d).count = bytes;
    frame(d).rate.update(bytes, m_clock.elapsed());
    changed();
}

void Form11::setMaximum(Direction d, qint64 maximum) {
    frame(d).maximum = std::max<qint64>(maximum, 0);
    changed();
}

void Form11::setProgress(Direction d, qint64 value) {
    Frame& f = frame(d);
    if (value >= 0 && value <= f.maximum)
        f.progress = value;
    changed();
}

void Form11::changed() {
    if (!m_refresh.isActive())
        m_refresh.start();
}

void Form11::refresh() {
    const qint64 now = m_clock.elapsed();
    for (Frame& f : m_frames)
        refreshFrame(f, now);
}

void Form11::refreshFrame(Frame& f, qint64 now) {
    f.pathBox->setText(f.path);
    f.statusLabel->setText(f.status);
    f.sizeLabel->setText(f.size);
    f.countLabel->setText(QString::number(f.count));
    // A bar whose range is empty shows a busy animation; an idle frame shows an empty bar.
    f.bar->setRange(0, std::max(barValue(f.maximum, f.maximum), 1));
    f.bar->setValue(barValue(f.progress, f.maximum));

    const auto rate = f.rate.bytesPerSecond(now);
    const auto left = f.rate.secondsLeft(f.maximum, now);
    f.rateLabel->setText(rate ? QLocale().formattedDataSize(qint64(*rate)) + QStringLiteral("/s")
                              : QString());
    f.timeLeftLabel->setText(left ? timeText(*left) : QString());
    // Keep sampling while a transfer moves, so the rate falls when it stalls.
    if (f.rate.isRunning() && !m_refresh.isActive())
        m_refresh.start();
}

void Form11::closeEvent(QCloseEvent* event) {
    event->accept();
    Q_EMIT closed();
}
