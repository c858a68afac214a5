// What the colour service (org.freedesktop.ColorManager) says of displays, and how it is told to use other
// profiles for them. Every call waits for the service; they throw sdbus::Error.
#pragma once

#include "Platform/Linux/NPColorService.h"

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

inline constexpr const char* NPColorManagerName = "org.freedesktop.ColorManager";
inline constexpr const char* NPColorManagerPath = "/org/freedesktop/ColorManager";

// A display as the service knows it.
struct NPColorDevice {
    std::string path;                                  // of the object
    std::map<std::string, std::string> customProfiles; // objects of ours that the device has, by identifier
    std::string defaultProfile;                        // the object that the device uses now; empty without any
    bool usesCustomProfile = false;                    // it is one of ours
    std::vector<std::string> files;                    // see NPColorService::displayProfiles()
};

class NPColorDevicesDBus {
public:
    // The owner is the unique name of the service, so that no call can start it anew.
    NPColorDevicesDBus(sdbus::IConnection& connection, std::string owner)
        : _connection(connection), _owner(std::move(owner))
    {
    }

    // Calls from now on end by then.
    void setDeadline(std::chrono::steady_clock::time_point deadline) { _deadline = deadline; }

    // The displays, by the name of their connector.
    std::map<std::string, NPColorDevice> devices();

    // Adds the profile in the file to the device, as the one that it uses, in the place of an earlier one of
    // ours. It is the connection's: it goes when the connection does, so a crash gives the former one back.
    void useCustomProfile(const NPColorDevice& device, const std::string& connector, const std::string& path);

    // Takes ours away; the device uses the profile again that it used before.
    void removeCustomProfiles(const NPColorDevice& device);

private:
    using Properties = std::map<std::string, sdbus::Variant>;

    std::unique_ptr<sdbus::IProxy> _proxy(const std::string& path) const;
    sdbus::MethodReply _call(sdbus::IProxy& proxy, const sdbus::MethodCall& call) const;
    Properties _properties(const std::string& path, const char* interface) const;
    NPColorDevice _device(const std::string& path, const Properties& properties) const;
    sdbus::ObjectPath _createProfile(const std::string& identifier, const std::string& path) const;
    void _deleteProfile(const NPColorDevice& device, const std::string& profile) const;

    sdbus::IConnection& _connection;
    const std::string _owner;
    std::chrono::steady_clock::time_point _deadline;
};
