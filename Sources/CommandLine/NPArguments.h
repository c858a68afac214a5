// The words of the command line.
#pragma once

#include <expected>
#include <optional>
#include <string>
#include <vector>

struct NPArguments {
    std::string command;               // one of the names that NPUsageText lists; empty with help or version
    std::vector<std::string> operands; // as many as the command takes
    bool help = false;
    bool version = false;
    bool json = false;
    bool noProfiles = false; // no custom colour profiles
    std::string platform = "auto"; // "auto", "x11", "simulated" or "simulated:FILE"
    std::string fade = "manual";   // "none", "manual" or "timed"
    std::optional<std::string> out; // a file to write
    std::optional<std::string> at; // a date, as given
    std::optional<double> latitude;
    std::optional<double> longitude;
};

// The error is one line that says what is wrong with the words.
std::expected<NPArguments, std::string> NPParseArguments(const std::vector<std::string>& words);

// What --help prints.
std::string NPUsageText();
