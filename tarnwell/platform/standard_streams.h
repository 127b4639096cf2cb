// What a program does at its start so that its standard streams carry what they should.
#pragma once

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// Opens /dev/null on every closed standard descriptor. Otherwise the first file that is opened
// would take the descriptor's number, and what is written to that stream would go into the file.
// Opened for reading only, so that writing to it still fails.
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
