// The words of nightpane's command line.
#pragma once

#include <expected>
#include <string>
#include <vector>

enum class NPProgramAction { run, toggle, preferences, quit, help, version };

struct NPProgramOptions {
    NPProgramAction action = NPProgramAction::run;
    std::string platform = "auto"; // see NPIsPlatformName
    std::string file;              // an effect file to add; empty for none
};

// The error is one line that says what is wrong with the words.
std::expected<NPProgramOptions, std::string> NPParseProgramOptions(const std::vector<std::string>& words);

// What --help prints.
std::string NPProgramUsage();
