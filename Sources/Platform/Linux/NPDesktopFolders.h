// Where a desktop looks for entries, by the variables of the environment that the XDG rules name.
#pragma once

#include <string>
#include <vector>

struct NPDesktopFolders {
    std::string userConfiguration;                 // empty when the user has none
    std::vector<std::string> systemConfigurations; // most important first
    std::vector<std::string> data;                 // the user's first
    std::vector<std::string> programs;             // PATH
    std::vector<std::string> desktops;             // what the running desktop calls itself: "ubuntu", "GNOME"
    std::string locale;                            // of messages

    // Folders that are no absolute paths do not count, as the rules want it.
    static NPDesktopFolders ofEnvironment();

    std::string path() const; // the programs' folders as in PATH
};
