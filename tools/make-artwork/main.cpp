// Draws the application icon at the sizes desktops ask for (icons/quorvel-N.png, N = 16 .. 256, and
// icons/quorvel.ico for the Windows executable) and the start-up picture (splash.png), into the
// folder given on the command line (normally assets/).
//
// Only QPainter paths on a QImage are used (no fonts, no platform plugin), so the output depends on
// nothing but this file and the Qt version.

#include <QColor>
#include <QDir>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QString>
#include <QTextStream>

#include <algorithm>

namespace {

const QColor deepBlue(29, 78, 137);
const QColor teal(42, 157, 143);
const QColor paper(250, 250, 245);
const QColor amber(244, 162, 97);

constexpr int iconSizes[] = {16, 24, 32, 48, 64, 128, 256};

// The icon on a 256-unit square: a rounded tile, a speech bubble, and in it a sight ring with a tail,
// which reads both as a "Q" and as a game's crosshair. Strokes are kept at least about 1.5 pixels
// wide so the small sizes stay legible.
void drawIcon(QPainter& p, int pixels) {
    const qreal unit = 256.0 / pixels;
    const auto stroke = [unit](qreal width) { return std::max(width, 1.5 * unit); };

    QLinearGradient tile(0, 0, 256, 256);
    tile.setColorAt(0.0, deepBlue);
    tile.setColorAt(1.0, teal);
    p.setPen(Qt::NoPen);
    p.setBrush(tile);
    p.drawRoundedRect(QRectF(8, 8, 240, 240), 48, 48);

    QPainterPath bubble;
    bubble.addRoundedRect(QRectF(36, 44, 184, 136), 44, 44);
    QPainterPath tail;
    tail.moveTo(72, 170);
    tail.lineTo(56, 224);
    tail.lineTo(118, 176);
    tail.closeSubpath();
    p.setBrush(paper);
    p.drawPath(bubble.united(tail));

    const QPointF centre(128, 110);
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(deepBlue, stroke(16), Qt::SolidLine, Qt::RoundCap));
    p.drawEllipse(centre, 40, 40);
    p.setPen(QPen(amber, stroke(16), Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(152, 134), QPointF(178, 160));
    if (pixels >= 32) {
        // The sight's ticks and centre dot only where there are pixels for them.
        p.setPen(QPen(deepBlue, stroke(8), Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(128, 58), QPointF(128, 74));
        p.drawLine(QPointF(76, 110), QPointF(92, 110));
        p.drawLine(QPointF(164, 110), QPointF(180, 110));
        p.setPen(Qt::NoPen);
        p.setBrush(amber);
        p.drawEllipse(centre, 8, 8);
    }
}

QImage icon(int pixels) {
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(pixels / 256.0, pixels / 256.0);
    drawIcon(p, pixels);
    return image;
}

// 480 x 180: night-blue sky with a glow, rings spreading from the icon like a server being pinged.
QImage splash() {
    QImage image(480, 180, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 480, 180);
    sky.setColorAt(0.0, QColor(12, 24, 48));
    sky.setColorAt(1.0, deepBlue);
    p.fillRect(image.rect(), sky);
    QRadialGradient glow(QPointF(90, 90), 160);
    glow.setColorAt(0.0, QColor(42, 157, 143, 150));
    glow.setColorAt(1.0, QColor(42, 157, 143, 0));
    p.fillRect(image.rect(), glow);
    for (int ring = 1; ring <= 6; ++ring) {
        p.setPen(QPen(QColor(250, 250, 245, 150 - ring * 20), 2));
        p.setBrush(Qt::NoBrush);
        const qreal r = 60 + ring * 42;
        p.drawArc(QRectF(90 - r, 90 - r, 2 * r, 2 * r), -50 * 16, 100 * 16);
    }
    p.setPen(Qt::NoPen);
    p.setBrush(amber);
    for (const QPointF& server : {QPointF(262, 52), QPointF(318, 124), QPointF(396, 72), QPointF(440, 140)})
        p.drawEllipse(server, 4, 4);
    p.translate(26, 26);
    p.scale(128 / 256.0, 128 / 256.0);
    drawIcon(p, 128);
    return image;
}

} // namespace

int main(int argc, char** argv) {
    QTextStream err(stderr);
    if (argc != 2) {
        err << "usage: make-artwork ASSETS-FOLDER\n";
        return 2;
    }
    const QDir assets(QString::fromLocal8Bit(argv[1]));
    if (!QDir().mkpath(assets.filePath(QStringLiteral("icons")))) {
        err << "cannot create " << assets.filePath(QStringLiteral("icons")) << '\n';
        return 1;
    }
    auto save = [&](const QImage& image, const QString& name, const char* format) {
        const QString path = assets.filePath(name);
        if (image.save(path, format))
            return true;
        err << "cannot write " << path << '\n';
        return false;
    };
    for (const int pixels : iconSizes) {
        if (!save(icon(pixels), QStringLiteral("icons/quorvel-%1.png").arg(pixels), "PNG"))
            return 1;
    }
    if (!save(icon(128), QStringLiteral("icons/quorvel.ico"), "ICO") ||
        !save(splash(), QStringLiteral("splash.png"), "PNG"))
        return 1;
    return 0;
}
