#pragma once

#include <QString>
#include <QStringList>

// The operating system's shell and process start, behind one seam.
class Desktop {
public:
    enum class Show { Normal, Minimised, Hidden };

    virtual ~Desktop() = default;

    // Hands a document or address to the shell's "open" action; true when the shell took it.
    virtual bool openWithShell(const QString& documentOrAddress) = 0;
    // Starts a program detached; false when it could not be started. On Windows the command line is
    // the program and its arguments joined by blanks, unquoted. Elsewhere a Windows program runs
    // through Wine when "wine" is on the PATH (false when it is not), from its own folder when no
    // working folder is given.
    virtual bool startProgram(const QString& program, const QStringList& arguments,
                              const QString& workingFolder, Show show) = 0;
    // Runs a batch file. Where there is no Windows command interpreter its folder changes and its
    // command are followed by hand (common/BatchScript), the command started as by startProgram.
    virtual bool runBatch(const QString& batchFile, const QString& workingFolder, Show show) = 0;
};
