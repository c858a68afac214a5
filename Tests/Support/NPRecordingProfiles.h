// Custom profiles for tests: every request is a line of the action log, so that its order among the writes
// to the displays shows, and the test decides when a file has been written.
#pragma once

#include "Platform/Simulated/NPActionLog.h"
#include "Screens/NPProfileApplying.h"

#include <string>
#include <utility>
#include <vector>

class NPRecordingProfiles final : public NPProfileApplying {
public:
    struct Write {
        NPDisplayID screen;
        NPDisplayProfile own;
        QXGammaTable table;
        Completion completion;
    };

    explicit NPRecordingProfiles(NPActionLog& log) : _log(log) {}

    bool applyEnabled() const override { return _applyEnabled; }
    void setApplyEnabled(bool enabled) override
    {
        _applyEnabled = enabled;
        _log.add(enabled ? "custom on" : "custom off");
    }
    void applyPendingProfiles() override { _log.add("custom apply"); }
    void beginUpdate() override { _log.add("custom begin"); }
    void endUpdate() override { _log.add("custom end"); }
    void setProfileURL(std::optional<std::string> location, NPDisplayID screen) override
    {
        _add(screen, "set " + location.value_or("none"));
    }
    void waitProfileURLForScreen(NPDisplayID screen) override { _add(screen, "wait"); }
    void writeProfile(NPDisplayID screen, const NPDisplayProfile& own, const QXGammaTable& table,
                      Completion completion) override
    {
        _add(screen, "write");
        _writes.push_back({screen, own, table, std::move(completion)});
    }
    void removeProfileFileForScreen(NPDisplayID screen) override { _add(screen, "remove"); }
    void removeProfileFolder() override { _log.add("custom remove folder"); }
    void waitUntilNoPendingProfile() override { _log.add("custom wait for all"); }

    // Every write asked for so far, in order.
    const std::vector<Write>& writes() const { return _writes; }

    // The file of the write with that number is there; without a location, it could not be written.
    void finish(std::size_t number, std::optional<std::string> location)
    {
        _writes.at(number).completion(std::move(location));
    }

private:
    void _add(NPDisplayID screen, const std::string& what)
    {
        _log.add("custom " + std::to_string(screen) + ' ' + what);
    }

    NPActionLog& _log;
    bool _applyEnabled = false;
    std::vector<Write> _writes;
};
