#pragma once

#include "FakeServices.h"

#include "app/Form1.h"

#include <QString>
#include <QStringList>

class QAction;
class Form3;

// A member's real main window on a chat server at 127.0.0.1, driven as its user would drive it.
struct ChatMember {
    TestServices t;
    Form1 w;

    explicit ChatMember(quint16 port);
    void setPort(quint16 port);

    // Through the sign-on dialog.
    void signOn(const QString& name, const QString& password);
    // Through the account dialog; false when it never opened.
    bool requestAccount(const QString& name, const QString& password);
    // Types a line into the room's input line and presses Enter.
    void say(const QString& line);
    // Selects the member in the user list and chooses a menu item.
    void onMember(const QString& name, QAction* item);
    // Types a line into a private window and presses Enter.
    static void type(Form3* window, const QString& line);

    QStringList users() const;
    // The newest line of the room as its reader sees it, each emoticon picture as [N].
    QString lastLine() const;
    // Installs a Half-Life whose executable is an empty file, recorded in the game's path file.
    QString installHalfLife();
};
