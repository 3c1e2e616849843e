#pragma once

#include "support/lab_lines.h"

#include <QByteArray>
#include <QProcess>
#include <QStringList>

#include <string>

/// What the tests of lanternix-lab share: they run the command.
namespace lab_testing {

struct Outcome
{
    int status = -1;
    std::string output;
    std::string errors;
};

/// Runs the command in the C locale.
inline Outcome lab(const QStringList &arguments, const QByteArray &input = {})
{
    QProcess process;
    process.start(LANTERNIX_LAB, arguments);
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished();
    Outcome outcome;
    outcome.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    outcome.output = process.readAllStandardOutput().toStdString();
    outcome.errors = process.readAllStandardError().toStdString();
    return outcome;
}

} // namespace lab_testing
