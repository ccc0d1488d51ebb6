#include "ancillary/Artwork.h"

#include <QApplication>
#include <QHash>
#include <QIconEngine>
#include <QImage>
#include <QPainter>
#include <QStyle>
#include <QTimer>

#include <array>

// The pictures are compiled into the quorvel_ui static library; nothing else references that object
// file, so it has to be initialised explicitly, from the global namespace.
static void initArtworkResources() {
    Q_INIT_RESOURCE(artwork);
}

namespace Artwork {

namespace {

void initOnce() {
    static const bool done = (initArtworkResources(), true);
    Q_UNUSED(done);
}

constexpr std::array<int, 7> iconSizes{16, 24, 32, 48, 64, 128, 256};

// A window hands its icon to the window system twice as it is created, every size each time, and
// start-up creates two windows in one pass: 28 reads of the same seven pictures. A picture once read
// is kept until the event loop runs again, so each is decoded once a pass and none is held after.
QImage shippedPicture(int pixels) {
    static QHash<int, QImage> readThisPass;
    const auto kept = readThisPass.constFind(pixels);
    if (kept != readThisPass.cend())
        return *kept;
    if (readThisPass.isEmpty())
        QTimer::singleShot(0, QCoreApplication::instance(), [] { readThisPass.clear(); });
    const QImage picture(QStringLiteral(":/artwork/quorvel-%1.png").arg(pixels));
    readThisPass.insert(pixels, picture);
    return picture;
}

// The application icon, read at the size asked for whenever it is asked. Windows hand their icon to
// the window system only as they are created, so keeping every size decoded for the program's whole
// life (as an icon built from files does, 350 KB for these seven) would only hold memory.
class ApplicationIconEngine final : public QIconEngine {
public:
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
        const int wanted = std::max(size.width(), size.height());
        int pixels = iconSizes.back();
        for (const int shipped : iconSizes) {
            if (shipped >= wanted) {
                pixels = shipped;
                break;
            }
        }
        QImage image = shippedPicture(pixels);
        // Smaller sizes are scaled down from the next larger picture; a picture is never enlarged.
        if (image.width() > size.width() || image.height() > size.height())
            image = image.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        QPixmap picture = QPixmap::fromImage(std::move(image));
        if (mode != QIcon::Normal && qobject_cast<QApplication*>(QCoreApplication::instance()))
            picture = QApplication::style()->generatedIconPixmap(mode, picture, nullptr);
        return picture;
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
        painter->drawPixmap(rect, pixmap(rect.size(), mode, state));
    }

    QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override {
        // Square pictures: the largest square that fits, as an icon made of files answers.
        const int side = std::min({size.width(), size.height(), iconSizes.back()});
        return QSize(side, side);
    }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        QList<QSize> sizes;
        for (const int pixels : iconSizes)
            sizes.append(QSize(pixels, pixels));
        return sizes;
    }

    QIconEngine* clone() const override { return new ApplicationIconEngine; }
    QString key() const override { return QStringLiteral("QuorvelApplicationIcon"); }
};

} // namespace

QIcon applicationIcon() {
    initOnce();
    return QIcon(new ApplicationIconEngine);
}

QPixmap splashPicture() {
    initOnce();
    // Decoded as an image: a pixmap loaded by file name stays in Qt's pixmap cache after the splash
    // window has gone, 340 KB held for the program's whole life.
    return QPixmap::fromImage(QImage(QStringLiteral(":/artwork/splash.png")));
}

} // namespace Artwork
