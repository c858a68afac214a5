#include "Platform/Linux/DBus/NPColorDevicesDBus.h"

#include "Platform/Linux/NPFileDescriptor.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

constexpr const char* managerInterface = "org.freedesktop.ColorManager";
constexpr const char* deviceInterface = "org.freedesktop.ColorManager.Device";
constexpr const char* profileInterface = "org.freedesktop.ColorManager.Profile";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

constexpr std::string_view ourPrefix = "nightpane-";

template<class Value>
Value property(const std::map<std::string, sdbus::Variant>& properties, const char* name)
{
    const auto found = properties.find(name);
    return found != properties.end() && found->second.containsValueOfType<Value>() ? found->second.get<Value>()
                                                                                   : Value();
}

} // namespace

std::unique_ptr<sdbus::IProxy> NPColorDevicesDBus::_proxy(const std::string& path) const
{
    return sdbus::createProxy(_connection, _owner, path);
}

sdbus::MethodReply NPColorDevicesDBus::_call(sdbus::IProxy& proxy, const sdbus::MethodCall& call) const
{
    using std::chrono::microseconds;
    const auto left = std::chrono::ceil<microseconds>(_deadline - std::chrono::steady_clock::now());
    if (left <= microseconds::zero()) {
        throw sdbus::Error("org.freedesktop.DBus.Error.Timeout", "it does not answer");
    }
    return proxy.callMethod(call, static_cast<std::uint64_t>(left.count()));
}

NPColorDevicesDBus::Properties NPColorDevicesDBus::_properties(const std::string& path,
                                                               const char* interface) const
{
    const auto proxy = _proxy(path);
    sdbus::MethodCall call = proxy->createMethodCall(propertiesInterface, "GetAll");
    call << interface;
    sdbus::MethodReply answer = _call(*proxy, call);
    Properties properties;
    answer >> properties;
    return properties;
}

// Several users may have a display on connectors of the same name; the one of this user counts first.
std::map<std::string, NPColorDevice> NPColorDevicesDBus::devices()
{
    const auto manager = _proxy(NPColorManagerPath);
    sdbus::MethodCall call = manager->createMethodCall(managerInterface, "GetDevicesByKind");
    call << "display";
    sdbus::MethodReply answer = _call(*manager, call);
    std::vector<sdbus::ObjectPath> paths;
    answer >> paths;
    std::map<std::string, NPColorDevice> devices;
    for (const sdbus::ObjectPath& path : paths) {
        const Properties properties = _properties(path, deviceInterface);
        const auto metadata = property<std::map<std::string, std::string>>(properties, "Metadata");
        const auto connector = metadata.find("XRANDR_name");
        if (connector == metadata.end()) {
            continue;
        }
        if (property<std::uint32_t>(properties, "Owner") == ::getuid()) {
            devices.insert_or_assign(connector->second, _device(path, properties));
        } else if (!devices.contains(connector->second)) {
            devices.emplace(connector->second, _device(path, properties));
        }
    }
    return devices;
}

NPColorDevice NPColorDevicesDBus::_device(const std::string& path, const Properties& properties) const
{
    NPColorDevice device;
    device.path = path;
    for (const sdbus::ObjectPath& profile : property<std::vector<sdbus::ObjectPath>>(properties, "Profiles")) {
        const Properties description = _properties(profile, profileInterface);
        const std::string identifier = property<std::string>(description, "ProfileId");
        const bool isOurs = identifier.starts_with(ourPrefix);
        if (isOurs) {
            device.customProfiles.emplace(identifier, profile);
        }
        const bool isDefault = device.defaultProfile.empty();
        if (isDefault) {
            device.defaultProfile = profile;
            device.usesCustomProfile = isOurs;
        }
        std::string file = property<std::string>(description, "Filename");
        if (!file.empty() && (isDefault || !isOurs)) {
            device.files.push_back(std::move(file));
        }
    }
    return device;
}

// A device has one custom profile at a time, but the next is there before the former goes: between the two the
// display would show its own. So there are two names, in turn. The service keeps for every name what it
// belonged to, so there are no more than these.
void NPColorDevicesDBus::useCustomProfile(const NPColorDevice& device, const std::string& connector,
                                          const std::string& path)
{
    const std::string name = std::string(ourPrefix) + std::to_string(::getuid()) + '-' + connector;
    const char* const turn = device.customProfiles.contains(name + "-1") ? "-2" : "-1";
    const sdbus::ObjectPath profile = _createProfile(name + turn, path);
    const auto proxy = _proxy(device.path);
    sdbus::MethodCall add = proxy->createMethodCall(deviceInterface, "AddProfile");
    add << "hard" << profile;
    try {
        _call(*proxy, add);
    } catch (const sdbus::Error& error) {
        // It remembers from an earlier time that the profile is this device's.
        if (error.getName() != "org.freedesktop.ColorManager.Device.ProfileAlreadyAdded") {
            throw;
        }
    }
    sdbus::MethodCall use = proxy->createMethodCall(deviceInterface, "MakeProfileDefault");
    use << profile;
    _call(*proxy, use);
    removeCustomProfiles(device); // those of before
}

sdbus::ObjectPath NPColorDevicesDBus::_createProfile(const std::string& identifier, const std::string& path) const
{
    const NPFileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        throw sdbus::Error("org.nightpane.Error.Failed", path + ": " + std::strerror(errno));
    }
    const auto manager = _proxy(NPColorManagerPath);
    sdbus::MethodCall call = manager->createMethodCall(managerInterface, "CreateProfileWithFd");
    // Whoever loads the profile for the session reads the file, for which its name is needed.
    call << identifier << "temp" << sdbus::UnixFd(file.get())
         << std::map<std::string, std::string>{{"Filename", path}};
    sdbus::MethodReply answer = _call(*manager, call);
    sdbus::ObjectPath profile;
    answer >> profile;
    return profile;
}

void NPColorDevicesDBus::removeCustomProfiles(const NPColorDevice& device)
{
    for (const auto& [identifier, profile] : device.customProfiles) {
        _deleteProfile(device, profile);
    }
}

void NPColorDevicesDBus::_deleteProfile(const NPColorDevice& device, const std::string& profile) const
{
    const auto proxy = _proxy(device.path);
    sdbus::MethodCall remove = proxy->createMethodCall(deviceInterface, "RemoveProfile");
    remove << sdbus::ObjectPath(profile);
    _call(*proxy, remove);
    const auto manager = _proxy(NPColorManagerPath);
    sdbus::MethodCall deletion = manager->createMethodCall(managerInterface, "DeleteProfile");
    deletion << sdbus::ObjectPath(profile);
    _call(*manager, deletion);
}
