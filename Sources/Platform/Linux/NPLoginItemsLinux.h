// What Linux desktops start at login: the entries in the folders "autostart" of the configuration folders.
//
// An entry's name without ".desktop" is its job's label. The user's entry stands for the system's of the same name;
// "Hidden" says that there is none. A job that is there but off (X-GNOME-Autostart-enabled, another desktop's, its
// program removed) is listed as not to be started.
//
// The one item that can be switched is the launcher's. Its entry is written when there is none, and removed when it
// is still as it was written. One that the user has changed is changed in the one line that says on or off, and
// never removed. What is no desktop entry is left alone. Every refusal is one line in the log.
#pragma once

#include "Platform/Linux/NPDesktopEntry.h"
#include "Platform/Linux/NPDesktopFolders.h"
#include "Platform/NPLoginItems.h"

#include <expected>
#include <string>

// Where the launcher program is, as built or as installed; empty when it is not there.
std::string NPLauncherPath();

class NPLoginItemsLinux final : public NPLoginItems {
public:
    explicit NPLoginItemsLinux(NPDesktopFolders folders = NPDesktopFolders::ofEnvironment(),
                               std::string launcher = NPLauncherPath());

    QXArray copyAllJobDictionaries() const override;

    // Nothing: an entry names its program itself.
    void registerURL(const std::string&) override {}

    bool setLoginItemEnabled(const std::string& bundleIdentifier, bool enabled) override;

private:
    // One of the files that an entry of a name may lie in. None: there is no such file. The error says what it is
    // instead of an entry.
    using Found = std::expected<std::optional<NPDesktopEntry>, std::string>;

    std::string _userFile(const std::string& identifier) const;
    static Found _entryAt(const std::string& file);
    Found _systemEntry(const std::string& identifier) const;
    bool _starts(const Found& found) const;
    bool _isEnabled(const std::string& identifier) const;
    NPDesktopEntry _newEntry(const std::string& command) const;
    bool _isAsWritten(const NPDesktopEntry& entry) const;
    std::expected<void, std::string> _enable(const std::string& identifier) const;
    std::expected<void, std::string> _disable(const std::string& identifier) const;
    std::expected<void, std::string> _write(const std::string& identifier, const NPDesktopEntry& entry) const;

    const NPDesktopFolders _folders;
    const std::string _launcher;
};
