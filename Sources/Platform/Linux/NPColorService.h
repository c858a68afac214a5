// The desktop's colour service (colord on the system bus), which keeps the profiles of displays. A program of
// the session (xiccd, or the desktop itself) tells it of the displays, and loads what it says they use.
//
// It lives in the D-Bus module and is loaded only where profiles are in use. All conversation with the service
// is on a thread of its own, so neither a slow service nor a dead one is waited for on the main thread.
#pragma once

#include <chrono>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What became of giving a display another profile.
enum class NPColorServiceOutcome {
    done,
    failed,     // the log says why
    notManaged, // the service is not there, or does not know the display
};

class NPColorService {
public:
    // How long the service may take for one request.
    static constexpr std::chrono::seconds patience{5};

    virtual ~NPColorService() = default; // custom profiles go with it

    // The files of the profiles of the display on that connector, as last heard: first the one that it uses,
    // then those that it would use without a custom one of ours. From any thread.
    virtual std::vector<std::string> displayProfiles(const std::string& connector) const = 0;

    // Has the display use the custom profile in that file or, without one, the profile that it used before.
    // Returns when the service has done so, within its patience in any case. From any thread but its own.
    virtual NPColorServiceOutcome setCustomProfile(const std::string& connector,
                                                   const std::optional<std::string>& path) = 0;
};

// What the module is given. The functions are called on the service's thread.
struct NPColorServiceRequest {
    std::string busAddress; // in D-Bus notation
    std::function<void(std::string_view line)> log;

    // Whether the bus shows a sign of life, within two seconds; the error is one line. A connection to a bus that does
    // not would be waited for without an end, and so would the service's.
    std::function<std::expected<void, std::string>()> checkBus;

    // The displays on these connectors have got another profile from somebody else. Called for the first time,
    // perhaps with none, when it is known what the service says, or that it is not there.
    std::function<void(std::vector<std::string> connectors)> changed;
};

// The module's entry point. Nothing is thrown, by this or by what it gives.
using NPColorServiceEntry = void (*)(NPColorServiceRequest request, std::unique_ptr<NPColorService>& result);
inline constexpr const char* NPColorServiceEntryName = "NPStartColorService";

// Loads the module from one of the folders. The error is one line.
std::expected<std::unique_ptr<NPColorService>, std::string>
NPOpenColorService(NPColorServiceRequest request, const std::vector<std::string>& moduleFolders);
