#include "app/ClientCommandLine.h"

namespace ClientCommandLine {

Action actionFor(const QStringList& arguments) {
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h"))
            return Action::ShowHelp;
        if (argument == QLatin1String("--version") || argument == QLatin1String("-v"))
            return Action::ShowVersion;
    }
    return Action::Run;
}

QString helpText() {
    return QStringLiteral(
        "Usage: quorvel [options]\n"
        "Chat with other players, send them files and join Kingpin, Half-Life and RTCW servers together.\n"
        "\n"
        "Options:\n"
        "  -h, --help     Show this help and exit.\n"
        "  -v, --version  Show the version and exit.\n"
        "\n"
        "Qt's own options, such as -platform NAME and -style NAME, are accepted as well.\n"
        "Settings, lists and sounds are kept in ~/.local/share/Quorvel (installed) or beside\n"
        "the program (run from where it was built or unpacked). See quorvel(6).\n");
}

QString versionText() {
    return QStringLiteral("quorvel %1.%2.%3\n")
        .arg(QUORVEL_VERSION_MAJOR)
        .arg(QUORVEL_VERSION_MINOR)
        .arg(QUORVEL_VERSION_PATCH);
}

} // namespace ClientCommandLine
