#include "Desktop/Support/NPTestColorService.h"

#include "Desktop/Support/NPTestProgram.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace {

constexpr const char* manager = "/org/freedesktop/ColorManager";

// What a call is answered with; empty when it failed.
std::string answer(const std::string& path, const std::string& method, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {"/usr/bin/dbus-send", "--system", "--print-reply=literal",
                                         "--dest=org.freedesktop.ColorManager", path, method});
    NPTestProgram program(arguments);
    return program.wait() == 0 ? program.output() : "";
}

std::vector<std::string> words(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> list;
    for (std::string word; stream >> word;) {
        list.push_back(word);
    }
    return list;
}

} // namespace

NPTestColorService::NPTestColorService(bool isPermitted)
    : _address("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (_folder / "bus").string()),
      _data("XDG_DATA_HOME", (_folder / "data").string())
{
    const std::string rule = isPermitted ? "" : "<deny send_destination='org.freedesktop.ColorManager'/>";
    writeFile(_folder / "bus.conf",
              "<!DOCTYPE busconfig PUBLIC '-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN'"
              " 'http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd'>"
              "<busconfig><type>system</type><auth>EXTERNAL</auth><listen>unix:path="
                  + (_folder / "bus").string()
                  + "</listen><policy context='default'>"
                    "<allow send_destination='*' eavesdrop='true'/><allow eavesdrop='true'/>"
                    "<allow own='*'/>"
                  + rule + "</policy></busconfig>");
    _startBus();
}

void NPTestColorService::_startBus()
{
    _bus.emplace(std::vector<std::string>{"dbus-daemon", "--config-file=" + (_folder / "bus.conf").string(),
                                          "--nofork", "--nopidfile", "--nosyslog", "--print-address"});
    _bus->outputUntil("guid=");
}

void NPTestColorService::restartBus()
{
    _bus->kill();
    _xiccd.reset();
    _colord.reset();
    _startBus();
}

void NPTestColorService::start(const std::vector<std::string>& connectors)
{
    _colord.emplace(std::vector<std::string>{"/usr/libexec/colord"});
    const auto hasName = [] {
        NPTestProgram program({"/usr/bin/dbus-send", "--system", "--print-reply=literal",
                               "--dest=org.freedesktop.DBus", "/", "org.freedesktop.DBus.GetNameOwner",
                               "string:org.freedesktop.ColorManager"});
        return program.wait() == 0;
    };
    if (!NPTestEventually(hasName)) {
        throw std::runtime_error("colord does not start");
    }
    _xiccd.emplace(std::vector<std::string>{"xiccd"});
    for (const std::string& connector : connectors) {
        if (!NPTestEventually([&] { return !_device(connector).empty(); })) {
            throw std::runtime_error("xiccd does not tell of " + connector);
        }
    }
}

std::string NPTestColorService::_device(const std::string& connector) const
{
    const auto found = words(answer(manager, "org.freedesktop.ColorManager.FindDeviceByProperty",
                                    {"string:XRANDR_name", "string:" + connector}));
    return found.empty() ? "" : found.back();
}

void NPTestColorService::use(const std::string& connector, const std::string& file) const
{
    const std::string name = std::filesystem::path(file).stem().string() + '-' + connector;
    answer(manager, "org.freedesktop.ColorManager.CreateProfile", // fails when it has been made before
           {"string:test-" + name, "string:normal", "dict:string:string:Filename," + file});
    const auto known =
        words(answer(manager, "org.freedesktop.ColorManager.FindProfileById", {"string:test-" + name}));
    const std::string device = _device(connector);
    const std::string interface = "org.freedesktop.ColorManager.Device.";
    const std::string profile = "objpath:" + known.at(0);
    answer(device, interface + "AddProfile", {"string:hard", profile}); // fails as well
    answer(device, interface + "MakeProfileDefault", {profile});
}

std::string NPTestColorService::profiles(const std::string& connector) const
{
    const std::string text = answer(_device(connector), "org.freedesktop.DBus.Properties.Get",
                                    {"string:org.freedesktop.ColorManager.Device", "string:Profiles"});
    std::string names;
    for (const std::string& word : words(text)) {
        const std::string prefix = std::string(manager) + "/profiles/";
        if (const std::size_t start = word.find(prefix); start != std::string::npos) {
            names += (names.empty() ? "" : " ") + word.substr(start + prefix.size());
        }
    }
    return names;
}

std::string NPTestColorService::fileInUse(const std::string& connector) const
{
    const std::string all = profiles(connector);
    const std::string first = all.substr(0, all.find(' '));
    const auto said =
        words(answer(std::string(manager) + "/profiles/" + first, "org.freedesktop.DBus.Properties.Get",
                     {"string:org.freedesktop.ColorManager.Profile", "string:Filename"}));
    return said.empty() ? "" : said.back();
}
