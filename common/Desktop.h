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
    // Starts a program detached; false when it could not be started.
    virtual bool startProgram(const QString& program, const QStringList& arguments,
                              const QString& workingFolder, Show show) = 0;
    // Runs a batch file (through Wine's cmd where there is no native shell for it).
    virtual bool runBatch(const QString& batchFile, const QString& workingFolder, Show show) = 0;
};
