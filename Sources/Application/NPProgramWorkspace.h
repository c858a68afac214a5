// The desktop around the program, and the program's end.
#pragma once

#include "Platform/Linux/NPInstalledApplications.h"
#include "Platform/NPWorkspace.h"

#include <functional>

class NPProgramWorkspace final : public NPWorkspace {
public:
    // `end` ends the program's main loop.
    explicit NPProgramWorkspace(std::function<void()> end) : _end(std::move(end)) {}

    std::optional<std::string>
    absolutePathForAppBundleWithIdentifier(const std::string& identifier) const override;
    std::string displayNameAtPath(const std::string& path) const override;
    std::optional<std::string> iconForFile(const std::string& path) const override;
    bool openURL(const std::string& url) override;
    void terminate() override;
    bool isTerminating() const override { return _isTerminating; }

private:
    const NPInstalledApplications _applications;
    const std::function<void()> _end;
    bool _isTerminating = false;
};
