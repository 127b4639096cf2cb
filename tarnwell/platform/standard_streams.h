// Sets up a program's standard streams and signals at its start.
#pragma once

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// Opens /dev/null on every closed standard descriptor. Otherwise the next file opened would take
// its number and receive the stream's output. Read-only, so that writing still fails.
void occupyClosedStandardDescriptors();

// Ignores SIGPIPE and SIGXFSZ, so that a failing write returns an error instead of killing the
// process. Restores SIGCHLD: a caller that ignores it would hide how child processes exit.
void setSignals();

// Move a standard stream to a private descriptor that child processes do not inherit, and open
// /dev/null in its place: children can neither read the program's input nor write into its output.
// Throw FileError.
FileDescriptor takeStandardInput();
FileDescriptor takeStandardOutput();

}  // namespace tarnwell
