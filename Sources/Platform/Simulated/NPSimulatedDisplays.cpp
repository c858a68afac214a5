#include "Platform/Simulated/NPSimulatedDisplays.h"

#include "Foundation/QXString.h"

#include <algorithm>

namespace {

std::string lastSamples(const QXGammaTable& table)
{
    if (table.sampleCount == 0) {
        return "";
    }
    const std::size_t last = table.sampleCount - 1;
    std::string text;
    for (const QXGammaTable::Channel* channel : {&table.redTable, &table.greenTable, &table.blueTable}) {
        text += ' ' + QXDoubleDescription(static_cast<double>((*channel)[last]));
    }
    return text;
}

bool touches(const NPRect& one, const NPRect& other)
{
    return one.x < other.x + other.width && other.x < one.x + one.width && one.y < other.y + other.height
           && other.y < one.y + one.height;
}

} // namespace

template<class Predicate>
std::optional<NPDisplayList> NPSimulatedDisplays::_list(std::size_t capacity, Predicate isListed) const
{
    if (_listsFail) {
        return std::nullopt;
    }
    NPDisplayList list;
    for (const NPSimulatedDisplay& display : _displays) {
        if (list.size() < capacity && display.online && isListed(display)) {
            list.push_back(display.identifier);
        }
    }
    return list;
}

std::optional<NPDisplayList> NPSimulatedDisplays::onlineDisplayList(std::size_t capacity) const
{
    return _list(capacity, [](const NPSimulatedDisplay&) { return true; });
}

std::optional<NPDisplayList> NPSimulatedDisplays::activeDisplayList(std::size_t capacity) const
{
    return _list(capacity, [](const NPSimulatedDisplay& display) { return display.active; });
}

std::optional<NPDisplayList> NPSimulatedDisplays::displaysWithRect(const NPRect& rect, std::size_t capacity) const
{
    return _list(capacity, [&](const NPSimulatedDisplay& display) {
        return display.active && touches(display.bounds, rect);
    });
}

NPDisplayID NPSimulatedDisplays::mainDisplay() const
{
    const NPDisplayList list = onlineDisplayList(1).value_or(NPDisplayList());
    return list.empty() ? 0 : list.front();
}

std::string NPSimulatedDisplays::displayName(NPDisplayID display) const
{
    const auto found = std::ranges::find(_displays, display, &NPSimulatedDisplay::identifier);
    return found == _displays.end() ? "" : found->name;
}

bool NPSimulatedDisplays::getDisplayTransferTable(NPDisplayID identifier, QXGammaTable& table)
{
    const NPSimulatedDisplay* found = display(identifier);
    const bool readable = found && found->online && !found->readsFail;
    _log.add("read " + std::to_string(identifier) + (readable ? "" : " failed"));
    if (readable) {
        table = found->table;
    }
    return readable;
}

bool NPSimulatedDisplays::setDisplayTransferTable(NPDisplayID identifier, const QXGammaTable& table)
{
    NPSimulatedDisplay* found = display(identifier);
    const bool writable = found && found->online && !found->writesFail;
    const std::string line = "write " + std::to_string(identifier);
    if (!writable) {
        _log.add(line + " failed");
        return false;
    }
    _log.add(line + ' ' + std::to_string(table.sampleCount) + lastSamples(table));
    found->table = table;
    return true;
}

void NPSimulatedDisplays::restoreColorSyncSettings()
{
    _log.add("restore all");
    for (NPSimulatedDisplay& display : _displays) {
        if (display.baseTable.sampleCount != 0) {
            display.table = display.baseTable;
        }
    }
}

NPDisplaySubscription
NPSimulatedDisplays::registerReconfigurationCallback(NPDisplayReconfigurationCallback callback)
{
    if (_logsCallbacks) {
        _log.add("observe displays");
    }
    auto installed = std::make_shared<NPDisplayReconfigurationCallback>(std::move(callback));
    _callbacks.push_back(installed);
    return installed;
}

NPDisplayProfile NPSimulatedDisplays::copyDisplayProfile(NPDisplayID identifier)
{
    _log.add("profile " + std::to_string(identifier));
    const NPSimulatedDisplay* found = display(identifier);
    if (!found || !found->online) {
        return {};
    }
    if (found->profile) {
        return NPDisplayProfileFromColorProfile(*found->profile);
    }
    return {found->baseTable, found->profileLocation};
}

NPDisplaySubscription NPSimulatedDisplays::registerProfileCallback(NPDisplayProfileCallback callback)
{
    auto installed = std::make_shared<NPDisplayProfileCallback>(std::move(callback));
    _profileCallbacks.push_back(installed);
    return installed;
}

void NPSimulatedDisplays::plug(NPSimulatedDisplay added)
{
    const NPDisplayID identifier = added.identifier;
    const bool online = added.online;
    if (NPSimulatedDisplay* known = display(identifier)) {
        *known = std::move(added);
    } else {
        _displays.push_back(std::move(added));
    }
    if (online) {
        _announce(identifier, NPDisplayChangeAdd);
    }
}

void NPSimulatedDisplays::plugAgain(NPDisplayID identifier)
{
    if (NPSimulatedDisplay* known = display(identifier)) {
        known->online = true;
        _announce(identifier, NPDisplayChangeAdd);
    }
}

void NPSimulatedDisplays::unplug(NPDisplayID identifier)
{
    if (NPSimulatedDisplay* known = display(identifier)) {
        known->online = false;
        _announce(identifier, NPDisplayChangeRemove);
    }
}

void NPSimulatedDisplays::changeMode(NPDisplayID identifier, std::uint32_t furtherFlags)
{
    _announce(identifier, NPDisplayChangeSetMode | furtherFlags);
}

void NPSimulatedDisplays::changeProfile(NPDisplayID identifier, QXColorProfile profile)
{
    NPSimulatedDisplay* const changed = display(identifier);
    if (!changed) {
        return;
    }
    changed->table = QXColorProfileGetGammaTable(profile);
    changed->profile = std::move(profile);
    const auto callbacks = _profileCallbacks;
    for (const std::weak_ptr<NPDisplayProfileCallback>& weak : callbacks) {
        if (const auto callback = weak.lock()) {
            (*callback)(identifier);
        }
    }
}

NPSimulatedDisplay* NPSimulatedDisplays::display(NPDisplayID identifier)
{
    const auto found = std::ranges::find(_displays, identifier, &NPSimulatedDisplay::identifier);
    return found == _displays.end() ? nullptr : &*found;
}

void NPSimulatedDisplays::_announce(NPDisplayID display, std::uint32_t flags)
{
    const auto callbacks = _callbacks;
    for (const std::weak_ptr<NPDisplayReconfigurationCallback>& weak : callbacks) {
        if (const auto callback = weak.lock()) {
            (*callback)(display, flags);
        }
    }
    std::erase_if(_callbacks, [](const auto& callback) { return callback.expired(); });
}
