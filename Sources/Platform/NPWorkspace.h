// The desktop around the program: other applications, the user's browser and mail, and the program's own end.
#pragma once

#include <optional>
#include <string>

class NPWorkspace {
public:
    virtual ~NPWorkspace() = default;

    // The absolute path of an installed application, by the identifier that it declares. None when it is not
    // installed.
    virtual std::optional<std::string>
    absolutePathForAppBundleWithIdentifier(const std::string& identifier) const = 0;

    // What a file or application is called for people, possibly with its extension.
    virtual std::string displayNameAtPath(const std::string& path) const = 0;

    // The icon of a file or application: a name or an absolute path. None when it has none.
    virtual std::optional<std::string> iconForFile(const std::string& path) const = 0;

    // Opens a web page in the browser, or a "mailto:" address in the mail program. False when nothing opens it.
    virtual bool openURL(const std::string& url) = 0;

    // Ends the program as the Quit command does. Returns: the end comes when the main loop is back in charge, and
    // whoever calls this does nothing more. From then on isTerminating().
    virtual void terminate() = 0;
    virtual bool isTerminating() const = 0;
};
