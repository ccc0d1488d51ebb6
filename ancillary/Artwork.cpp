#include "ancillary/Artwork.h"

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
} // namespace

QIcon applicationIcon() {
    initOnce();
    QIcon icon;
    for (const int pixels : {16, 24, 32, 48, 64, 128, 256})
        icon.addFile(QStringLiteral(":/artwork/quorvel-%1.png").arg(pixels), QSize(pixels, pixels));
    return icon;
}

QPixmap splashPicture() {
    initOnce();
    return QPixmap(QStringLiteral(":/artwork/splash.png"));
}

} // namespace Artwork
