// What the program reads of its own at run time: string tables, the credits.
#pragma once

#include "Foundation/QXStringTable.h"

#include <string>
#include <vector>

// The folder that holds the running program, with a slash at the end; empty when the kernel does not say.
std::string NPProgramFolder();

// The resources: "Resources" beside the program, as built, or the data folder as installed. No slash at the end.
std::string NPResourceFolder();

// The languages that the environment asks for, see QXLanguagesOfEnvironment.
std::vector<std::string> NPLanguages();

// The tables in a folder: <language>/<table>.strings, the main table's file being Localizable.strings. A file that is
// there and cannot be opened is logged.
QXStringTableSource NPStringTableSource(std::string folder);

// From now on QXLocalizedString speaks the languages that the environment asks for. Costs nothing but reading the
// environment until a text is first looked up.
void NPInstallStringTables();
