// nightpane-cli run: the engine in the foreground, which tells what happens.
#pragma once

#include "CommandLine/NPArguments.h"

// Runs until SIGTERM, SIGINT or SIGHUP, gives every display back, and returns the exit code: 0, or 1 when it
// could not start or the displays went away.
int NPRunCommand(const NPArguments& arguments);
