#pragma once

#include <QString>

// What a line typed into the room's input line asks for. Commands match the whole line exactly and
// case-sensitively ("/Help" is chat), except "/clear", which any line starting with those six
// characters in any case matches.
enum class SlashCommand { Chat, Help, GameStarter, Exit, TimeDate, LocalIp, CopyLocalIp, Email, Clear };

SlashCommand classifySlashCommand(const QString& line);

// The "/help" box text and the shorter "Commands" menu box text, lines joined by CR LF.
QString slashHelpText();
QString commandsHelpText();
