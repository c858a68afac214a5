#include "Platform/Linux/DBus/NPScreenSaversDBus.h"

#include "Platform/Linux/DBus/NPErrorDBus.h"
#include "Platform/Linux/NPBusEventsModule.h"

#include <array>
#include <exception>
#include <type_traits>
#include <utility>

struct NPScreenSaversDBus::Saver {
    std::string name; // of the service and of its interface
    std::string path;
};

// Most desktops have one of the first two; the others are those that have neither.
NPScreenSaversDBus::NPScreenSaversDBus(const NPControlModuleHost& host, const std::string& address,
                                       NPMainLoopLinux& loop, NPScreenSaverHandler handler,
                                       std::function<void()> lost)
    : _handler(std::move(handler)),
      _services(host, address, loop,
                "The session bus has gone; the desktop's screen saver goes unnoticed until it is back",
                std::move(lost))
{
    const std::array<Saver, 5> savers{{{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"},
                                       {"org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"},
                                       {"org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver"},
                                       {"org.mate.ScreenSaver", "/org/mate/ScreenSaver"},
                                       {"org.xfce.ScreenSaver", "/org/xfce/ScreenSaver"}}};
    for (const Saver& saver : savers) {
        _follow(saver);
    }
}

// From any object of the service: some have the same saver under two paths.
void NPScreenSaversDBus::_follow(const Saver& saver)
{
    _slots.push_back(_services.match("type='signal',sender='" + saver.name + "',interface='" + saver.name
                                         + "',member='ActiveChanged'",
                                     [this, name = saver.name](sdbus::Message& message) {
                                         bool isActive = false;
                                         message >> isActive;
                                         _handler(name, isActive);
                                     }));
    _services.follow(saver.name, [this, saver](const std::string& owner) { _ownerDidChange(saver, owner); });
}

void NPScreenSaversDBus::_ownerDidChange(const Saver& saver, const std::string& owner)
{
    if (owner.empty()) {
        _handler(saver.name, false);
        return;
    }
    _services.ask({owner, saver.path, saver.name, "GetActive"},
                  [this, name = saver.name](sdbus::MethodReply& answer, const sdbus::Error* error) {
                      bool isActive = false; // also for one that does not say
                      if (error == nullptr) {
                          answer >> isActive;
                      }
                      _handler(name, isActive);
                  });
}

extern "C" [[gnu::visibility("default")]] void
NPOpenScreenSavers(const NPControlModuleHost& host, const std::string& address, NPMainLoopLinux& loop,
                   NPScreenSaverHandler handler, std::function<void()> lost, NPBusEventsResult& result)
{
    try {
        result = std::make_unique<NPScreenSaversDBus>(host, address, loop, std::move(handler), std::move(lost));
    } catch (const std::exception& exception) {
        result = std::unexpected("the session bus cannot be used: " + NPLineOfException(exception));
    }
}

static_assert(std::is_same_v<decltype(&NPOpenScreenSavers), NPScreenSaverModuleEntry>);
