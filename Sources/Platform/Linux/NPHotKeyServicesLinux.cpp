#include "Platform/Linux/NPHotKeyServicesLinux.h"

#include "Foundation/QXLog.h"

#include <utility>

void NPHotKeyServicesLinux::open(MakeAdapter makeAdapter)
{
    _make = std::move(makeAdapter);
    _handlers.availabilityChanged();
}

std::expected<NPHotKeyRef, std::string> NPHotKeyServicesLinux::registerHotKey(const NPHotKeyRequest& request)
{
    if (const MakeAdapter make = std::exchange(_make, nullptr)) {
        Adapter adapter = make();
        if (adapter) {
            _adapter = std::move(*adapter);
            _adapterSubscription =
                _adapter->installHandlers({[this](const NPHotKeyEvent& event) { _handlers.pressed(event); },
                                           [this](const NPHotKeyEvent& event) { _handlers.released(event); },
                                           [this] { _handlers.availabilityChanged(); }});
        } else {
            _refusal = std::move(adapter.error());
            QXLog("Hot keys do not work: " + _refusal);
        }
    }
    if (!_adapter) {
        return std::unexpected(_refusal);
    }
    return _adapter->registerHotKey(request);
}

NPHotKeySubscription NPHotKeyServicesLinux::installHandlers(NPHotKeyHandlers handlers)
{
    return _handlers.add(std::move(handlers));
}

std::optional<std::string> NPHotKeyServicesLinux::trigger(NPHotKeyID identifier) const
{
    return _adapter ? _adapter->trigger(identifier) : std::nullopt;
}
