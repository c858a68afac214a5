#include "Platform/Linux/NPTestSessionBus.h"

#include <stdlib.h>

#include <filesystem>

NPTestVariable::NPTestVariable(const char* name, const std::optional<std::string>& value) : _name(name)
{
    if (const char* const former = ::getenv(name)) {
        _former = former;
    }
    _set(value);
}

NPTestVariable::~NPTestVariable()
{
    _set(_former);
}

void NPTestVariable::_set(const std::optional<std::string>& value)
{
    if (value) {
        ::setenv(_name, value->c_str(), 1);
    } else {
        ::unsetenv(_name);
    }
}

NPTestSessionBus::NPTestSessionBus()
{
    std::filesystem::create_directory(_folder / "services");
    const std::string configuration =
        "<!DOCTYPE busconfig PUBLIC '-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN'"
        " 'http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd'>"
        "<busconfig><type>session</type><auth>EXTERNAL</auth><listen>"
        + address() + "</listen><servicedir>" + (_folder / "services").string()
        + "</servicedir><policy context='default'>"
          "<allow send_destination='*' eavesdrop='true'/><allow eavesdrop='true'/><allow own='*'/>"
          "</policy></busconfig>";
    writeFile(_folder / "bus.conf", configuration);
    begin();
    _variable.emplace("DBUS_SESSION_BUS_ADDRESS", address());
}

void NPTestSessionBus::begin()
{
    _daemon.emplace(std::vector<std::string>{"dbus-daemon", "--config-file=" + (_folder / "bus.conf").string(),
                                             "--nofork", "--nopidfile", "--nosyslog", "--print-address"});
    _daemon->outputUntil("guid=");
}

void NPTestSessionBus::addActivatableService(const std::string& name, const std::string& program)
{
    writeFile(_folder / "services" / (name + ".service"),
              "[D-BUS Service]\nName=" + name + "\nExec=" + program + "\n");
    NPTestOutputOf({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                    "org.freedesktop.DBus.ReloadConfig"});
}
