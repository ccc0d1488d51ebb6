// The main window's ancillary windows, and its colour scheme as the editor and the settings file set it.
#include "app/Form1.h"

#include "ancillary/AboutBox.h"
#include "ancillary/Form6.h"
#include "chat/ChatDisplay.h"
#include "common/BgrColour.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>

namespace {

void setRole(QWidget* w, QPalette::ColorRole role, qint64 bgr) {
    QPalette p = w->palette();
    p.setColor(role, BgrColour::toColor(bgr));
    w->setPalette(p);
}

qint64 roleOf(const QWidget* w, QPalette::ColorRole role) {
    return BgrColour::fromColor(w->palette().color(role));
}

} // namespace

void Form1::applyDefaultColours() {
    for (const ColourScheme::RoleInfo& r : ColourScheme::roles())
        setColour(r.role, r.defaultBgr);
}

qint64 Form1::colour(ColourRole role) const {
    switch (role) {
    case ColourRole::MainBackground:
        return roleOf(rtb, QPalette::Base);
    case ColourRole::MainText:
        return roleOf(rtb, QPalette::Text);
    case ColourRole::Emotion:
        return actionColour;
    case ColourRole::NickBackground:
        return roleOf(LV1, QPalette::Base);
    case ColourRole::NickText:
        return roleOf(LV1, QPalette::Text);
    case ColourRole::InputBackground:
        return roleOf(Text1, QPalette::Base);
    case ColourRole::InputText:
        return roleOf(Text1, QPalette::Text);
    case ColourRole::BoxBackground:
        return roleOf(Combo1, QPalette::Base);
    case ColourRole::BoxText:
        return roleOf(Combo1, QPalette::Text);
    case ColourRole::WindowBackground:
        return roleOf(this, QPalette::Window);
    }
    return 0;
}

void Form1::setColour(ColourRole role, qint64 bgr) {
    switch (role) {
    case ColourRole::MainBackground:
        setRole(rtb, QPalette::Base, bgr);
        break;
    case ColourRole::MainText:
        // Ordinary chat lines carry the message colour; the display's own colour is what line 6 keeps.
        setRole(rtb, QPalette::Text, bgr);
        rtb->recolour(BgrColour::toColor(messageColour), BgrColour::toColor(bgr));
        messageColour = bgr;
        break;
    case ColourRole::Emotion:
        rtb->recolour(BgrColour::toColor(actionColour), BgrColour::toColor(bgr));
        actionColour = bgr;
        break;
    case ColourRole::NickBackground:
        setRole(LV1, QPalette::Base, bgr);
        break;
    case ColourRole::NickText:
        setRole(LV1, QPalette::Text, bgr);
        break;
    case ColourRole::InputBackground:
        setRole(Text1, QPalette::Base, bgr);
        break;
    case ColourRole::InputText:
        setRole(Text1, QPalette::Text, bgr);
        break;
    case ColourRole::BoxBackground:
        for (QWidget* box : std::initializer_list<QWidget*>{Text3, cboServer, Combo1})
            setRole(box, QPalette::Base, bgr);
        break;
    case ColourRole::BoxText:
        for (QWidget* box : std::initializer_list<QWidget*>{Text3, cboServer, Combo1})
            setRole(box, QPalette::Text, bgr);
        break;
    case ColourRole::WindowBackground: {
        // The labels on the window stay readable whatever it is painted.
        const QColor background = BgrColour::toColor(bgr);
        QPalette p = palette();
        p.setColor(QPalette::Window, background);
        p.setColor(QPalette::WindowText, background.lightness() < 128 ? Qt::white : Qt::black);
        setPalette(p);
        break;
    }
    }
}

Form6& Form1::colourEditor() {
    if (!m_colourEditor)
        m_colourEditor = new Form6(m_services.prompts, *this, this);
    return *m_colourEditor;
}

void Form1::mnucolors_Click() {
    Form6& editor = colourEditor();
    editor.show();
    editor.raise();
}

void Form1::mnuAbo_Click() {
    auto* about = new AboutBox(m_services, this);
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->open();
}
