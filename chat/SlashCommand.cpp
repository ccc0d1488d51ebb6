#include "chat/SlashCommand.h"

#include <QStringList>

SlashCommand classifySlashCommand(const QString& line) {
    if (line == u"/help")
        return SlashCommand::Help;
    if (line == u"/gs" || line == u"/gamestarter" || line == u"/game starter")
        return SlashCommand::GameStarter;
    if (line == u"/exit")
        return SlashCommand::Exit;
    if (line == u"/time" || line == u"/date")
        return SlashCommand::TimeDate;
    if (line == u"/localip")
        return SlashCommand::LocalIp;
    if (line == u"/copylocalip")
        return SlashCommand::CopyLocalIp;
    if (line == u"/email")
        return SlashCommand::Email;
    if (line.left(6).toLower() == u"/clear")
        return SlashCommand::Clear;
    return SlashCommand::Chat;
}

QString slashHelpText() {
    return QStringList{QStringLiteral("Commands :"),
                       QStringLiteral("/help - This Option"),
                       QStringLiteral("/gs - Open the GameStarter"),
                       QStringLiteral("/exit - Sign off and exit"),
                       QStringLiteral("/time or /date - Self explanatory"),
                       QStringLiteral("/localip - Get Local IP Address"),
                       QStringLiteral("/copylocalip - Copy Local IP"),
                       QStringLiteral("/email - Opens Default MailTo: Client(Outlook etc)"),
                       QStringLiteral("/clear - Clear the chat area")}
        .join(QStringLiteral("\r\n"));
}

QString commandsHelpText() {
    return QStringList{QStringLiteral("/clear - Clear you chat screen..."),
                       QStringLiteral("!Seen Name - see when a user last logged in..."),
                       QStringLiteral("Emoticons - :) ;) :z :d :( :| :m :< :o :x"),
                       QStringLiteral("/me - First person msg..."), QStringLiteral("/Ops - See Online Ops...")}
        .join(QStringLiteral("\r\n"));
}
