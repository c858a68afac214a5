// The engine in the foreground: everything that runs until it is told to end.
#pragma once

#include "CommandLine/NPArguments.h"

// Runs until SIGTERM, SIGINT or SIGHUP, gives every display back, and returns the exit code: 0, or 1 when it
// could not start or the displays went away.
int NPRunEngine(const NPArguments& arguments);

// The program's version.
const char* NPVersion();

// Prints "nightpane-cli: MESSAGE" on standard error.
void NPPrintError(const std::string& message);
