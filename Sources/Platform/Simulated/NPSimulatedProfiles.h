// Files and display profiles in memory, with everything that can go wrong with real ones.
#pragma once

#include "Platform/NPCustomProfileServices.h"
#include "Platform/Simulated/NPActionLog.h"

#include <atomic>
#include <map>
#include <mutex>

// Each call that does something is one line of the action log; where it failed, " failed" stands at the end:
//   "use 7 file:///own.icc", "use 7 none", "folder file:///caches/a", "file file:///caches/a/b.icc",
//   "remove file:///caches/a/b.icc", "remove folder file:///caches/a".
class NPSimulatedProfiles final : public NPDeviceProfileServices, public NPFileServices {
public:
    explicit NPSimulatedProfiles(NPActionLog& log) : _log(log) {}

    bool setCustomProfile(NPDisplayID display, const std::optional<std::string>& location) override;
    std::optional<std::string> cachesFolder() const override;
    std::expected<void, std::string> createFolder(const std::string& url) override;
    bool writeFile(const std::string& url, const QXData& content) override;
    void removeFile(const std::string& url) override;
    void removeFolder(const std::string& url) override;

    // The content of a file; none when it is not there.
    std::optional<QXData> file(const std::string& url) const;

    // Where the custom profile lies that the display uses; none when it uses its own.
    std::optional<std::string> customProfile(NPDisplayID display) const;

    // Somebody else has given the display another profile.
    void forgetCustomProfile(NPDisplayID display);

    // While false, the operation fails.
    std::atomic<bool> devicesAccept = true;
    std::atomic<bool> foldersCanBeMade = true;
    std::atomic<bool> filesCanBeWritten = true;
    std::atomic<bool> hasCachesFolder = true;

    // While somebody holds the lock, no display changes its profile; the call waits.
    [[nodiscard]] std::unique_lock<std::mutex> holdDevices() { return std::unique_lock(_deviceGate); }

private:
    NPActionLog& _log;
    std::mutex _deviceGate;
    bool _isCustomProfile(const std::string& url) const;

    mutable std::mutex _mutex; // guards what follows
    std::map<std::string, QXData> _files;
    std::map<NPDisplayID, std::string> _customProfiles;
};
