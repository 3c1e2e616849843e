#pragma once

#include <string>

namespace lab {

class Launch;

/// The name of the socket of the recording that this process starts, in the runtime folder.
std::string nameOfRecordingSocket();

/// Connects to the recorder that listens at the socket @p name, or, if that is empty, to that of the running
/// recording that began last. Returns the connection, or -1, which one line on standard error then tells.
int connectToRecording(const std::string &name);

/// Waits until the recorder of a program that was started listens at the socket @p name. Returns the
/// connection, or -1 if the program ends before.
int awaitRecording(const std::string &name, const Launch &program);

} // namespace lab
