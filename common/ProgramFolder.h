#pragma once

#include <QString>

// The folder that holds every file of the program. Names are given as the program has always
// written them, with a leading backslash ("\Quorvel.ini"); file() turns them into a real path.
class ProgramFolder {
public:
    explicit ProgramFolder(QString path) : m_path(std::move(path)) {}

    // The executable's folder when it is writable, else the per-user application data folder.
    static ProgramFolder forExecutable(const QString& executableFolder);

    const QString& path() const { return m_path; }
    QString file(const QString& backslashName) const;

private:
    QString m_path;
};
