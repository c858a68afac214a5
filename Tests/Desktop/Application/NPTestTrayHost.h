// A StatusNotifier host without a panel: it takes the items that register, and reads and chooses from their menus over
// the bus, as a panel does.
#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class NPTestTrayHost {
public:
    struct MenuItem {
        std::int32_t identifier = 0;
        std::string label; // empty for a separator
        std::string shortcut; // "Control+Alt+M"; empty for none
        bool isOn = false;
    };

    // Without a host it is only the watcher: it takes items, and says that nobody shows them.
    explicit NPTestTrayHost(const std::string& busAddress, bool hasHost = true);
    ~NPTestTrayHost();
    NPTestTrayHost(const NPTestTrayHost&) = delete;
    NPTestTrayHost& operator=(const NPTestTrayHost&) = delete;

    void registerHost();

    bool hasItem() const;

    // As at a click with the first button.
    void activate() const;

    // The visible items of the first item's menu, without those of submenus.
    std::vector<MenuItem> menu() const;

    // Throws when there is no such item.
    void choose(const std::string& label) const;

private:
    std::string _itemService() const;
    std::unique_ptr<sdbus::IProxy> _menuProxy() const;

    std::unique_ptr<sdbus::IConnection> _connection;
    std::unique_ptr<sdbus::IConnection> _caller; // for calls, since the other one is served by a thread
    std::unique_ptr<sdbus::IObject> _watcher;
    std::atomic<bool> _hasHost;
    mutable std::mutex _mutex;
    std::string _service; // of the first item
};
