#pragma once

#include <QString>

// The folder that holds every file of the program. Names are given as the program has always
// written them, with a leading backslash ("\Quorvel.ini"); file() turns them into a real path.
class ProgramFolder {
public:
    explicit ProgramFolder(QString path)
        : m_path(std::move(path)) {}

    // The executable's folder when it is writable and not an installed copy; else the per-user
    // application data folder, into which the files shipped with the program (sounds, sample server
    // lists) are copied where the user has none of their own yet. An installed copy is an executable
    // in a "bin" folder beside "share/quorvel" (the layout of cmake --install and the package): its
    // folder is shared by every user even where the one running it could write there (root).
    static ProgramFolder forExecutable(const QString& executableFolder);

    // Where an installed copy's shipped files are ("<prefix>/share/quorvel"), or empty for a copy
    // that is not installed.
    static QString installedDataFolder(const QString& executableFolder);

    const QString& path() const { return m_path; }
    QString file(const QString& backslashName) const;

private:
    QString m_path;
};
