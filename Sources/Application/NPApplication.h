// The program with windows: an engine, its interface, and the desktop that both work on.
#pragma once

#include "Application/NPProgramOptions.h"
#include "Engine/NPEngine.h"

// Runs until the user or the session ends it, and gives every display back. Where an instance runs already, hands it
// what is asked and returns. The exit code: 0, or 1 when it could not start or not do what was asked.
int NPRunApplication(const NPProgramOptions& options);
