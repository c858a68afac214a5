// The hot keys of the session that the program runs in, from the moment on that there is time for them.
//
// Nothing is asked of anyone before open(), so that a start is not slowed down, nor before the first hot key is
// registered, so that a user without hot keys pays for none. Until then registrations are refused.
#pragma once

#include "Platform/NPHotKeyHandlerList.h"

class NPHotKeyServicesLinux final : public NPHotKeyServices {
public:
    // Makes the service of the desktop that the session runs on; the error is one line.
    using Adapter = std::expected<std::unique_ptr<NPHotKeyServices>, std::string>;
    using MakeAdapter = std::function<Adapter()>;

    // Announces that hot keys can be registered; the first one makes the adapter. When that fails the log gets
    // one line, and every registration is refused with it. A later call has another adapter made in the place of one
    // that works no longer.
    void open(MakeAdapter makeAdapter);

    std::expected<NPHotKeyRef, std::string> registerHotKey(const NPHotKeyRequest& request) override;
    NPHotKeySubscription installHandlers(NPHotKeyHandlers handlers) override;
    std::optional<std::string> trigger(NPHotKeyID identifier) const override;

private:
    MakeAdapter _make;
    std::unique_ptr<NPHotKeyServices> _adapter;
    NPHotKeySubscription _adapterSubscription;
    std::string _refusal = "hot keys are not ready yet";
    NPHotKeyHandlerList _handlers;
};
