// Other applications that are installed, known by their desktop entries or their commands, and this one.
#pragma once

#include "Platform/Linux/NPDesktopEntry.h"
#include "Platform/Linux/NPDesktopFolders.h"

#include <optional>
#include <string>

class NPInstalledApplications {
public:
    explicit NPInstalledApplications(NPDesktopFolders folders = NPDesktopFolders::ofEnvironment());

    // The file of the desktop entry "<identifier>.desktop", the user's before the system's, or else of the command
    // <identifier>. None when there is neither. An entry that is hidden, or whose program is not there any more, is
    // none.
    std::optional<std::string> pathForIdentifier(const std::string& identifier) const;

    // For a desktop entry its name in the user's language and its extension, for other files their own name.
    std::string displayNameAtPath(const std::string& path) const;

    // The icon that a desktop entry names, a theme's or a file. None for other files.
    std::optional<std::string> iconForFile(const std::string& path) const;

private:
    static std::optional<NPDesktopEntry> _entryAt(const std::string& path);

    const NPDesktopFolders _folders;
};

// What is the application to people: "<prefix>/Applications/Nightpane" where it has been installed with its desktop
// entry, so that the desktop can start it; otherwise the program's own file.
std::string NPApplicationPath();
