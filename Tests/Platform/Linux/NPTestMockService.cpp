#include "Platform/Linux/NPTestMockService.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace {

const std::string python = "/usr/bin/python3"; // the one that Debian's modules are for

} // namespace

NPTestMockService::NPTestMockService(const std::vector<std::string>& arguments, std::string bus, std::string name,
                                     std::string path)
    : _bus(std::move(bus)), _name(std::move(name)), _path(std::move(path))
{
    std::vector<std::string> command{python, "-m", "dbusmock"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    _process = std::make_unique<NPTestProcess>(command);
    tell(""); // waits for it
}

NPTestMockService NPTestMockService::loginManager()
{
    return {
        {"--system", "--template", "logind"}, "SystemBus", "org.freedesktop.login1", "/org/freedesktop/login1"};
}

NPTestMockService NPTestMockService::gnomeScreenSaver()
{
    return {{"--session", "--template", "gnome_screensaver"},
            "SessionBus",
            "org.gnome.ScreenSaver",
            "/org/gnome/ScreenSaver"};
}

NPTestMockService NPTestMockService::empty(const std::string& name, const std::string& path)
{
    return {{"--session", name, path, name}, "SessionBus", name, path};
}

void NPTestMockService::tell(const std::string& statements) const
{
    const std::string program = "import dbus, time\n"
                                "bus = dbus."
                                + _bus
                                + "()\n"
                                  "end = time.monotonic() + 20\n"
                                  "while not bus.name_has_owner('"
                                + _name
                                + "') and time.monotonic() < end:\n"
                                  "    time.sleep(0.01)\n"
                                  "at = lambda path: dbus.Interface(bus.get_object('"
                                + _name
                                + "', path), 'org.freedesktop.DBus.Mock')\n"
                                  "mock = at('"
                                + _path + "')\n" + statements + "\nprint('done')\n";
    const std::string output = NPTestOutputOf({python, "-c", program});
    if (!output.ends_with("done\n")) {
        throw std::runtime_error("the mock refuses: " + output);
    }
}
