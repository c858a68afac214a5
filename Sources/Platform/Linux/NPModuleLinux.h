// Parts of the program that are loaded only when they are needed, because the libraries that they use would
// cost every start time and memory.
#pragma once

#include <expected>
#include <string>
#include <vector>

// Where modules are: in the program's own folder, as built, or in the library folder, as installed.
std::vector<std::string> NPModuleFolders();

// Loads a module from the first of the folders that has it, for the rest of the program's life, and gives the
// address of a function of it. The error is one line.
std::expected<void*, std::string> NPLoadModule(const std::vector<std::string>& folders, const char* fileName,
                                               const char* functionName);
