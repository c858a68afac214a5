// The handlers that are installed on a hot-key service.
//
// Calls reach the handlers in the order of their installation. One whose subscription ends during a call is
// not called any more; one that runs is kept until it returns. The list itself may be destroyed by a handler.
#pragma once

#include "Platform/NPHotKeyServices.h"

#include <vector>

class NPHotKeyHandlerList {
public:
    [[nodiscard]] NPHotKeySubscription add(NPHotKeyHandlers handlers)
    {
        std::erase_if(_handlers, [](const auto& known) { return known.expired(); });
        auto added = std::make_shared<NPHotKeyHandlers>(std::move(handlers));
        _handlers.push_back(added);
        return added;
    }

    void pressed(const NPHotKeyEvent& event) const { _call(&NPHotKeyHandlers::pressed, event); }
    void released(const NPHotKeyEvent& event) const { _call(&NPHotKeyHandlers::released, event); }
    void availabilityChanged() const { _call(&NPHotKeyHandlers::availabilityChanged); }

private:
    template<class Handler, class... Arguments>
    void _call(Handler NPHotKeyHandlers::* handler, const Arguments&... arguments) const
    {
        const std::vector<std::weak_ptr<NPHotKeyHandlers>> handlers = _handlers;
        for (const std::weak_ptr<NPHotKeyHandlers>& weak : handlers) {
            const std::shared_ptr<NPHotKeyHandlers> held = weak.lock();
            if (held && (*held).*handler) {
                ((*held).*handler)(arguments...);
            }
        }
    }

    std::vector<std::weak_ptr<NPHotKeyHandlers>> _handlers;
};
