// The lines that the program prints.
#pragma once

#include "Foundation/QXLog.h"

#include <string>

// Prints "nightpane-cli: MESSAGE" on standard error.
void NPPrintError(const std::string& message);

// Prints a line of a running engine on standard output, or drops it where a full pipe or a stopped terminal does not
// take it now: the displays must not wait for somebody to read.
void NPPrintEvent(const std::string& line);

// Prints the log's lines like errors, and drops them like events, for as long as the object lives.
[[nodiscard]] QXLogRedirection NPPrintLog();
