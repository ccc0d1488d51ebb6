#pragma once

#include <QObject>
#include <QString>
#include <QtGlobal>

class QTextDocument;

// Turns the emoticon codes of the chat display into their pictures.
//
// The display only ever grows at its end between clears, so each pass looks at the text added since
// the previous completed pass (plus the one character before it, in case a code was split across two
// appends) rather than the whole display: a pass costs what was added, not what is shown.
// Edits elsewhere (the display cleared, old lines trimmed from the top, text changed in the middle)
// are noticed through QTextDocument::contentsChange and pull the converted mark back, so nothing is
// missed and nothing is scanned twice needlessly.
//
// The pictures are inserted straight into the document as inline images; the clipboard is never used.
class EmoticonReplacer final : public QObject {
    Q_OBJECT
public:
    explicit EmoticonReplacer(QTextDocument& display, QObject* parent = nullptr);

    // The pass after each completed read of the chat socket. When a read's handling ends early and
    // this is skipped, the next pass converts what that read left behind too.
    void replaceNewCodes();

    // The image name the display's pictures carry: a "qrc:" address of picture 1 to 10. The document
    // is given the decoded pictures under these names; should it lose them (QTextDocument::clear()
    // drops added resources), the address still resolves from the compiled-in resources.
    static QString imageName(int picture);

    // The picture number (1 to 10) named by an image name from imageName(), or 0.
    static int pictureOfImageName(const QString& name);

private:
    void noteContentsChange(int position, int charsRemoved, int charsAdded);
    void registerPictures();

    QTextDocument& m_display;
    qsizetype m_convertedEnd = 0;
    bool m_replacing = false;
};
