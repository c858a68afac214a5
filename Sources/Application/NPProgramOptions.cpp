#include "Application/NPProgramOptions.h"

#include "Engine/NPSession.h"

#include <map>

std::expected<NPProgramOptions, std::string> NPParseProgramOptions(const std::vector<std::string>& words)
{
    static const std::map<std::string, NPProgramAction> actions = {
        {"--toggle", NPProgramAction::toggle},   {"--preferences", NPProgramAction::preferences},
        {"--quit", NPProgramAction::quit},       {"--help", NPProgramAction::help},
        {"--version", NPProgramAction::version},
    };
    NPProgramOptions options;
    std::string actionWord;
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (const auto action = actions.find(*word); action != actions.end()) {
            if (!actionWord.empty() && actionWord != *word) {
                return std::unexpected(actionWord + " and " + *word + ": one of them at a time");
            }
            actionWord = *word;
            options.action = action->second;
        } else if (*word == "--platform") {
            if (++word == words.end()) {
                return std::unexpected("--platform: which one?");
            }
            if (!NPIsPlatformName(*word)) {
                return std::unexpected("'" + *word + "' is no platform: auto, x11, simulated or simulated:FILE");
            }
            options.platform = *word;
        } else if (word->starts_with('-')) {
            return std::unexpected("there is no option '" + *word + "'; --help lists them");
        } else if (!options.file.empty()) {
            return std::unexpected("one effect file at a time");
        } else {
            options.file = *word;
        }
    }
    const bool opensFiles =
        options.action == NPProgramAction::run || options.action == NPProgramAction::preferences;
    if (!options.file.empty() && !opensFiles) {
        return std::unexpected(actionWord + " takes no file");
    }
    return options;
}

std::string NPProgramUsage()
{
    return "Usage: nightpane [OPTION…] [FILE]\n"
           "\n"
           "Changes how everything on the screen looks, by effects that you define. It lives in the status area; "
           "a\n"
           "second start opens its window, or adds the effect of an effect FILE, and ends.\n"
           "\n"
           "  --toggle             switch all effects off, or on again\n"
           "  --preferences        open the window\n"
           "  --quit               end the instance that runs\n"
           "  --platform PLATFORM  which displays to use: auto, x11, simulated or simulated:FILE\n"
           "  --help               print this\n"
           "  --version            print the version\n"
           "\n"
           "nightpane-cli asks and changes everything else while it runs.\n";
}
