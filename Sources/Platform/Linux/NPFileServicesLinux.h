// Files that can be made anew, in the user's caches folder.
#pragma once

#include "Platform/NPCustomProfileServices.h"

class NPFileServicesLinux final : public NPFileServices {
public:
    // Takes the values of the variables XDG_CACHE_HOME and HOME, nullptr for one that is not set. The caches
    // folder is the first's, else ".cache" in the second's; one that is no absolute path is ignored.
    NPFileServicesLinux(const char* cacheHome, const char* home);

    std::optional<std::string> cachesFolder() const override { return _cachesFolder; }
    std::expected<void, std::string> createFolder(const std::string& url) override;
    bool writeFile(const std::string& url, const QXData& content) override;
    void removeFile(const std::string& url) override;
    void removeFolder(const std::string& url) override; // a link in its place alone, not what it leads to

private:
    std::optional<std::string> _cachesFolder;
};
