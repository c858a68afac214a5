#include "Platform/Linux/NPDisplayListX11.h"

#include "Platform/Linux/NPEdid.h"

#include <algorithm>
#include <optional>

namespace {

const NPDisplayX11* displayWithIdentifier(const NPDisplayListX11& list, NPDisplayID identifier)
{
    const auto found = std::ranges::find(list, identifier, &NPDisplayX11::identifier);
    return found == list.end() ? nullptr : &*found;
}

bool isSetAlike(const NPDisplayX11& left, const NPDisplayX11& right)
{
    return left.crtc == right.crtc && left.area.x == right.area.x && left.area.y == right.area.y
           && left.area.width == right.area.width && left.area.height == right.area.height
           && left.mode == right.mode && left.rotation == right.rotation && left.tableSize == right.tableSize
           && left.isCopy == right.isCopy;
}

std::uint32_t changeFlags(const NPDisplayX11* before, const NPDisplayX11& after, const NPLayoutEventsX11& events)
{
    std::uint32_t flags = 0;
    if (before == nullptr || events.outputsInterrupted.contains(after.output)) {
        flags |= NPDisplayChangeAdd;
    }
    if (before != nullptr && (!isSetAlike(*before, after) || events.crtcsSet.contains(after.crtc))) {
        flags |= NPDisplayChangeSetMode;
    }
    return flags;
}

// Monitors are numbered as Xinerama does it: the primary one first, then in the order of the CRTCs.
void numberMonitors(NPDisplayListX11& list, const NPLayoutX11& layout)
{
    if (list.empty()) {
        return;
    }
    const bool hasPrimary = list.front().output == layout.primary;
    std::size_t next = hasPrimary ? 1 : 0;
    for (const NPCrtcX11& crtc : layout.crtcs) {
        bool isMonitor = false;
        for (NPDisplayX11& display : list) {
            if (display.crtc == crtc.crtc && !(hasPrimary && crtc.crtc == list.front().crtc)) {
                display.monitor = next;
                isMonitor = true;
            }
        }
        next += isMonitor ? 1 : 0;
    }
}

} // namespace

NPDisplayListX11 NPDisplayListFromLayoutX11(const NPLayoutX11& layout, NPDisplayIdentities& identities)
{
    std::vector<std::optional<NPEdid>> edids;
    std::vector<NPDisplayIdentities::Screen> screens;
    for (const NPOutputX11& output : layout.outputs) {
        edids.push_back(NPEdidParse(output.edid));
        screens.push_back({output.output, output.connector, edids.back() ? edids.back()->identity : ""});
    }
    // All connected displays, so that one that is merely switched off keeps its identifier from its twin.
    const std::vector<NPDisplayID> identifiers = identities.identify(screens);

    NPDisplayListX11 list;
    for (std::size_t i = 0; i < layout.outputs.size(); ++i) {
        const NPOutputX11& output = layout.outputs[i];
        const auto crtc = std::ranges::find(layout.crtcs, output.crtc, &NPCrtcX11::crtc);
        if (output.crtc == 0 || crtc == layout.crtcs.end()) {
            continue;
        }
        const bool isNamed = edids[i] && !edids[i]->monitorName.empty();
        list.push_back({.identifier = identifiers[i],
                        .output = output.output,
                        .crtc = output.crtc,
                        .name = isNamed ? edids[i]->monitorName : output.connector,
                        .connector = output.connector,
                        .edid = output.edid,
                        .area = crtc->area,
                        .mode = crtc->mode,
                        .rotation = crtc->rotation,
                        .tableSize = crtc->table.size()});
    }
    const auto primary = std::ranges::find(list, layout.primary, &NPDisplayX11::output);
    if (primary != list.end()) {
        std::rotate(list.begin(), primary, primary + 1);
    }
    numberMonitors(list, layout);
    if (list.size() > NPDisplayListCapacity) {
        list.erase(list.begin() + NPDisplayListCapacity, list.end());
    }
    std::set<xcb_randr_crtc_t> crtcs;
    for (NPDisplayX11& display : list) {
        display.isCopy = !crtcs.insert(display.crtc).second;
    }
    return list;
}

std::vector<NPDisplayChangeX11> NPDisplayChangesX11(const NPDisplayListX11& before, const NPDisplayListX11& after,
                                                    const NPLayoutEventsX11& events)
{
    std::vector<NPDisplayChangeX11> changes;
    for (const NPDisplayX11& display : before) {
        if (displayWithIdentifier(after, display.identifier) == nullptr) {
            changes.push_back({display.identifier, NPDisplayChangeRemove});
        }
    }
    for (const NPDisplayX11& display : after) {
        const NPDisplayX11* const former = displayWithIdentifier(before, display.identifier);
        std::uint32_t flags = changeFlags(former, display, events);
        if (former != nullptr && former != &before.front() && &display == &after.front()) {
            flags |= NPDisplayChangeSetMain;
        }
        if (flags != 0) {
            changes.push_back({display.identifier, flags});
        }
    }
    return changes;
}
