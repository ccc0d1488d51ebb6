// Draws the ten emoticon pictures of the chat display and writes them as 1.png .. 10.png into the
// folder given on the command line. Picture N is the one for the N-th code of
// ":),;),:z,:d,:(,:|,:m,:<,:o,:x", so the order of the drawings below must follow that list.
//
// Only QPainter on a QImage is used (no fonts, no platform plugin), so the output depends on
// nothing but this file and the Qt version, and regenerating leaves the committed PNGs unchanged.

#include <QColor>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPointF>
#include <QRadialGradient>
#include <QRectF>
#include <QString>
#include <QTextStream>

#include <functional>
#include <vector>

namespace {

constexpr int side = 19; // close to the line height of the display's default font
constexpr qreal centre = side / 2.0;

const QColor outline(120, 72, 0);
const QColor feature(70, 40, 10);

QImage blank() {
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

void face(QPainter& p, const QColor& light = QColor(255, 236, 110), const QColor& dark = QColor(240, 176, 0)) {
    QRadialGradient fill(QPointF(centre - 2.5, centre - 3.0), 11.0);
    fill.setColorAt(0.0, light);
    fill.setColorAt(1.0, dark);
    p.setPen(QPen(outline, 1.0));
    p.setBrush(fill);
    p.drawEllipse(QPointF(centre, centre), 8.5, 8.5);
}

QPen featurePen(qreal width = 1.4) {
    return QPen(feature, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

void dotEye(QPainter& p, qreal x, qreal y = 7.2) {
    p.setPen(Qt::NoPen);
    p.setBrush(feature);
    p.drawEllipse(QPointF(x, y), 1.2, 1.7);
}

void openEyes(QPainter& p) {
    dotEye(p, 6.6);
    dotEye(p, 12.4);
}

// A closed eye: a short arc bowing downwards, as in sleep.
void closedEye(QPainter& p, qreal x, qreal y = 7.6) {
    QPainterPath arc;
    arc.moveTo(x - 1.7, y);
    arc.quadTo(x, y + 1.6, x + 1.7, y);
    p.setPen(featurePen(1.2));
    p.setBrush(Qt::NoBrush);
    p.drawPath(arc);
}

// A mouth curve from (left, y) to (right, y) whose middle sits at y + depth (negative: frown).
void curve(QPainter& p, qreal left, qreal right, qreal y, qreal depth) {
    QPainterPath mouth;
    mouth.moveTo(left, y);
    mouth.quadTo((left + right) / 2.0, y + 2.0 * depth, right, y);
    p.setPen(featurePen());
    p.setBrush(Qt::NoBrush);
    p.drawPath(mouth);
}

void smile(QPainter& p) {
    face(p);
    openEyes(p);
    curve(p, 5.2, 13.8, 11.2, 2.6);
}

void wink(QPainter& p) {
    face(p);
    // Left eye shut in a wink: a flat stroke with a slight lift at the outer end.
    QPainterPath shut;
    shut.moveTo(4.9, 7.9);
    shut.quadTo(6.6, 6.6, 8.3, 7.6);
    p.setPen(featurePen(1.2));
    p.setBrush(Qt::NoBrush);
    p.drawPath(shut);
    dotEye(p, 12.4);
    curve(p, 5.6, 13.8, 11.0, 2.4);
}

void sleepy(QPainter& p) {
    face(p);
    closedEye(p, 6.4, 8.2);
    closedEye(p, 12.0, 8.2);
    // A small slack mouth.
    p.setPen(featurePen(1.1));
    p.setBrush(QColor(150, 70, 40));
    p.drawEllipse(QPointF(9.2, 13.2), 1.5, 1.1);
    // The "z" floating off the top right corner.
    QPainterPath z;
    z.moveTo(12.8, 1.3);
    z.lineTo(17.3, 1.3);
    z.lineTo(12.8, 5.6);
    z.lineTo(17.3, 5.6);
    p.setPen(QPen(QColor(40, 90, 200), 1.5, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(z);
}

void grin(QPainter& p) {
    face(p);
    openEyes(p);
    // A wide open "D" mouth with a row of teeth.
    QPainterPath mouth;
    mouth.moveTo(4.6, 10.2);
    mouth.lineTo(14.4, 10.2);
    mouth.quadTo(14.0, 15.8, 9.5, 15.8);
    mouth.quadTo(5.0, 15.8, 4.6, 10.2);
    mouth.closeSubpath();
    p.setPen(featurePen(1.1));
    p.setBrush(QColor(110, 30, 20));
    p.drawPath(mouth);
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawRect(QRectF(5.4, 10.7, 8.2, 1.6));
}

void sad(QPainter& p) {
    face(p);
    openEyes(p);
    curve(p, 5.6, 13.4, 14.2, -2.2);
}

void straight(QPainter& p) {
    face(p);
    openEyes(p);
    p.setPen(featurePen());
    p.drawLine(QPointF(6.0, 12.6), QPointF(13.0, 12.6));
}

void mMouth(QPainter& p) {
    face(p);
    openEyes(p);
    // An "m": two humps, lips pressed in thought.
    QPainterPath m;
    m.moveTo(5.4, 13.8);
    m.quadTo(5.4, 11.2, 7.4, 11.2);
    m.quadTo(9.5, 11.2, 9.5, 13.4);
    m.quadTo(9.5, 11.2, 11.6, 11.2);
    m.quadTo(13.6, 11.2, 13.6, 13.8);
    p.setPen(featurePen(1.3));
    p.setBrush(Qt::NoBrush);
    p.drawPath(m);
}

void angry(QPainter& p) {
    // Reddened face, brows drawn down towards the nose and a sneer: the "<".
    face(p, QColor(255, 170, 120), QColor(225, 70, 30));
    p.setPen(featurePen(1.4));
    p.drawLine(QPointF(4.4, 4.6), QPointF(8.2, 6.4));
    p.drawLine(QPointF(14.6, 4.6), QPointF(10.8, 6.4));
    dotEye(p, 6.6, 8.4);
    dotEye(p, 12.4, 8.4);
    QPainterPath sneer;
    sneer.moveTo(12.8, 11.6);
    sneer.lineTo(6.2, 13.2);
    sneer.lineTo(12.8, 14.8);
    p.setPen(featurePen(1.3));
    p.setBrush(Qt::NoBrush);
    p.drawPath(sneer);
}

void surprised(QPainter& p) {
    face(p);
    // Eyes wide open: white with a pupil.
    for (const qreal x : {6.4, 12.6}) {
        p.setPen(QPen(feature, 0.8));
        p.setBrush(Qt::white);
        p.drawEllipse(QPointF(x, 7.0), 2.0, 2.3);
        p.setPen(Qt::NoPen);
        p.setBrush(feature);
        p.drawEllipse(QPointF(x, 7.3), 0.9, 1.1);
    }
    p.setPen(featurePen(1.2));
    p.setBrush(QColor(110, 30, 20));
    p.drawEllipse(QPointF(centre, 13.3), 2.0, 2.4);
}

void sealed(QPainter& p) {
    face(p);
    openEyes(p);
    // Lips sealed: a line crossed by stitches, reading as a row of "x".
    p.setPen(featurePen(1.2));
    p.drawLine(QPointF(5.2, 12.8), QPointF(13.8, 12.8));
    p.setPen(featurePen(1.0));
    for (const qreal x : {6.9, 9.5, 12.1}) {
        p.drawLine(QPointF(x - 1.1, 11.6), QPointF(x + 1.1, 14.0));
        p.drawLine(QPointF(x - 1.1, 14.0), QPointF(x + 1.1, 11.6));
    }
}

} // namespace

int main(int argc, char** argv) {
    QTextStream err(stderr);
    if (argc != 2) {
        err << "usage: make-emoticons OUTPUT-FOLDER\n";
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    if (!folder.exists() && !QDir().mkpath(folder.path())) {
        err << "cannot create " << folder.path() << '\n';
        return 1;
    }

    // In code order: :) ;) :z :d :( :| :m :< :o :x
    const std::vector<std::function<void(QPainter&)>> drawings{smile, wink,  sleepy,    grin,  sad,
                                                                 straight, mMouth, angry, surprised, sealed};
    int picture = 0;
    for (const auto& draw : drawings) {
        ++picture;
        QImage image = blank();
        {
            QPainter painter(&image);
            painter.setRenderHint(QPainter::Antialiasing);
            draw(painter);
        }
        const QString path = folder.filePath(QString::number(picture) + QStringLiteral(".png"));
        if (!image.save(path, "PNG")) {
            err << "cannot write " << path << '\n';
            return 1;
        }
    }
    return 0;
}
