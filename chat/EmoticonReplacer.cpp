#include "chat/EmoticonReplacer.h"

#include "chat/EmoticonCodes.h"

#include <QImage>
#include <QList>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextImageFormat>
#include <QUrl>

#include <algorithm>

// The pictures are compiled into the quorvel_ui static library; nothing else references that object
// file, so the linker would drop it unless it is initialised explicitly. Q_INIT_RESOURCE has to run
// from the global namespace.
static void initEmoticonResources() {
    Q_INIT_RESOURCE(emoticons);
}

static void initEmoticonResourcesOnce() {
    static const bool done = (initEmoticonResources(), true);
    Q_UNUSED(done);
}

namespace {

constexpr int pictureCount = 10;
constexpr QStringView namePrefix = u"qrc:/emoticons/";
constexpr QStringView nameSuffix = u".png";

// Where a pass starts scanning: one character before the end of the last pass, so that a code whose
// first character ended the previous append and whose second began the next is still found.
constexpr qsizetype overlap = EmoticonCodes::codeLength - 1;

} // namespace

EmoticonReplacer::EmoticonReplacer(QTextDocument& display, QObject* parent)
    : QObject(parent)
    , m_display(display) {
    initEmoticonResourcesOnce();
    registerPictures();
    // QTextDocument only reports where it changed (contentsChange) once it has a layout; a display
    // shown in a QTextEdit always has one, and asking for it here makes a bare document report too.
    m_display.documentLayout();
    connect(&m_display, &QTextDocument::contentsChange, this, &EmoticonReplacer::noteContentsChange);
}

QString EmoticonReplacer::imageName(int picture) {
    return namePrefix.toString() + QString::number(picture) + nameSuffix.toString();
}

int EmoticonReplacer::pictureOfImageName(const QString& name) {
    if (!name.startsWith(namePrefix) || !name.endsWith(nameSuffix))
        return 0;
    const QStringView number = QStringView(name).sliced(namePrefix.size(),
                                                        name.size() - namePrefix.size() - nameSuffix.size());
    bool ok = false;
    const int picture = number.toInt(&ok);
    return ok && picture >= 1 && picture <= pictureCount ? picture : 0;
}

void EmoticonReplacer::registerPictures() {
    // Decoded once here so that drawing an inserted picture never has to read and decode the PNG.
    for (int picture = 1; picture <= pictureCount; ++picture) {
        const QString name = imageName(picture);
        const QImage image(name.sliced(3)); // ":/emoticons/N.png"
        m_display.addResource(QTextDocument::ImageResource, QUrl(name), image);
    }
}

void EmoticonReplacer::noteContentsChange(int position, int charsRemoved, int charsAdded) {
    if (m_replacing || position >= m_convertedEnd)
        return; // Our own edits, or growth beyond the converted part: the next pass covers it.
    if (charsAdded == 0) {
        // Text removed from the converted part (a clear, or old lines trimmed from the top): what
        // follows the removal was converted already and only moved back.
        m_convertedEnd = std::max<qsizetype>(position, m_convertedEnd - charsRemoved);
    } else {
        // Text put into the converted part: convert again from where it went in.
        m_convertedEnd = position;
    }
}

void EmoticonReplacer::replaceNewCodes() {
    // The document's last position is its closing paragraph separator; text ends one before it.
    const qsizetype textEnd = m_display.characterCount() - 1;
    if (m_convertedEnd > textEnd) {
        // Shorter than what was converted, with the change unseen: start over.
        m_convertedEnd = 0;
    }
    if (m_convertedEnd == 0 && textEnd > 0) {
        // A cleared document loses the pictures added to it; give them back.
        registerPictures();
    }
    const qsizetype scanFrom = std::max<qsizetype>(0, m_convertedEnd - overlap);

    // A code never spans a paragraph separator, so the blocks can be searched one by one; positions
    // in a block's text are document positions counted from block.position().
    QList<EmoticonHit> hits;
    for (QTextBlock block = m_display.findBlock(int(scanFrom)); block.isValid(); block = block.next()) {
        const QString text = block.text();
        const qsizetype blockStart = block.position();
        const qsizetype from = std::max<qsizetype>(0, scanFrom - blockStart);
        for (const EmoticonHit& hit : findEmoticons(text, from))
            hits.append({blockStart + hit.position, hit.picture});
    }

    if (!hits.isEmpty()) {
        m_replacing = true;
        QTextCursor cursor(&m_display);
        // One edit block: the layout is redone once for the pass, not once per picture.
        cursor.beginEditBlock();
        // Last hit first: each code's two characters become one, which would move every later hit.
        for (auto hit = hits.crbegin(); hit != hits.crend(); ++hit) {
            // The code's own format (colour, weight, ...) stays on the picture, and the text around
            // it keeps its own since only these two characters change.
            cursor.setPosition(int(hit->position + 1));
            QTextImageFormat image;
            image.merge(cursor.charFormat());
            image.setName(imageName(hit->picture));
            // A screen reader (and a copy as HTML) gets the code the picture stands for.
            const QString& code = EmoticonCodes::codes()[hit->picture - 1];
            image.setProperty(QTextFormat::ImageAltText, code);
            image.setProperty(QTextFormat::ImageTitle, code);
            cursor.setPosition(int(hit->position));
            cursor.setPosition(int(hit->position + EmoticonCodes::codeLength), QTextCursor::KeepAnchor);
            cursor.removeSelectedText();
            cursor.insertImage(image);
        }
        cursor.endEditBlock();
        m_replacing = false;
    }
    m_convertedEnd = m_display.characterCount() - 1;
}
