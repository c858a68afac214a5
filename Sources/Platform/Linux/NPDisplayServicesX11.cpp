#include "Platform/Linux/NPDisplayServicesX11.h"

#include "Platform/Linux/NPDisplayServerX11.h"
#include "Platform/Linux/NPEdid.h"

#include <algorithm>
#include <ranges>
#include <utility>

namespace {

// The identifiers of the displays that the condition holds for.
template<typename Condition>
std::optional<NPDisplayList> listedDisplays(const NPDisplayServerX11& server, std::size_t capacity,
                                            Condition condition)
{
    if (server.isLost()) {
        return std::nullopt;
    }
    NPDisplayList list;
    for (const NPDisplayX11& display : server.displays() | std::views::filter(condition)) {
        if (list.size() < capacity) {
            list.push_back(display.identifier);
        }
    }
    return list;
}

// None when it is not online.
const NPDisplayX11* onlineDisplay(const NPDisplayServerX11& server, NPDisplayID identifier)
{
    const auto found = std::ranges::find(server.displays(), identifier, &NPDisplayX11::identifier);
    return found == server.displays().end() || server.isLost() ? nullptr : &*found;
}

// Whether two stretches have a point in common. The end of a stretch is not part of it, except when it is
// nothing but a point.
bool overlap(double left, double leftLength, double right, double rightLength)
{
    const bool beginsInside = left >= right && left < right + rightLength;
    const bool reachesInto = left < right && left + leftLength > right;
    return beginsInside || reachesInto;
}

} // namespace

NPDisplayServicesX11::NPDisplayServicesX11(std::unique_ptr<NPDisplayServerX11> server) : _server(std::move(server))
{
    _server->profileHandler = [this](NPDisplayID display) { _profileDidChange(display); };
}

NPDisplayServicesX11::~NPDisplayServicesX11() = default;

std::expected<std::unique_ptr<NPDisplayServicesX11>, std::string>
NPDisplayServicesX11::open(const std::string& displayName, NPMainLoopLinux& loop, NPDisplayGuard* guard)
{
    auto server = NPDisplayServerX11::open(displayName, loop, guard);
    if (!server) {
        return std::unexpected(server.error());
    }
    return std::unique_ptr<NPDisplayServicesX11>(new NPDisplayServicesX11(std::move(*server)));
}

void NPDisplayServicesX11::onConnectionLost(std::function<void()> handler)
{
    _server->connectionLostHandler = std::move(handler);
}

std::optional<NPDisplayList> NPDisplayServicesX11::onlineDisplayList(std::size_t capacity) const
{
    return listedDisplays(*_server, capacity, [](const NPDisplayX11&) { return true; });
}

std::optional<NPDisplayList> NPDisplayServicesX11::activeDisplayList(std::size_t capacity) const
{
    return listedDisplays(*_server, capacity, [](const NPDisplayX11& display) { return !display.isCopy; });
}

std::optional<NPDisplayList> NPDisplayServicesX11::displaysWithRect(const NPRect& rect, std::size_t capacity) const
{
    // The X screen's origin is the corner of all displays together, the rectangle's that of the main display.
    const NPRect main = _server->displays().empty() ? NPRect{} : _server->displays().front().area;
    return listedDisplays(*_server, capacity, [&](const NPDisplayX11& display) {
        return !display.isCopy && overlap(rect.x + main.x, rect.width, display.area.x, display.area.width)
               && overlap(rect.y + main.y, rect.height, display.area.y, display.area.height);
    });
}

NPDisplayID NPDisplayServicesX11::mainDisplay() const
{
    const std::optional<NPDisplayList> list = onlineDisplayList(1);
    return list && !list->empty() ? list->front() : 0;
}

std::string NPDisplayServicesX11::displayName(NPDisplayID display) const
{
    const NPDisplayX11* const found = onlineDisplay(*_server, display);
    return found == nullptr ? std::string() : found->name;
}

bool NPDisplayServicesX11::getDisplayTransferTable(NPDisplayID display, QXGammaTable& table)
{
    const NPDisplayX11* const found = onlineDisplay(*_server, display);
    const auto shown = found == nullptr ? std::nullopt : _server->tables().shownTable(found->crtc);
    if (shown) {
        table = *shown;
    }
    return shown.has_value();
}

bool NPDisplayServicesX11::setDisplayTransferTable(NPDisplayID display, const QXGammaTable& table)
{
    const NPDisplayX11* const found = onlineDisplay(*_server, display);
    if (found == nullptr || table.sampleCount == 0) {
        return false;
    }
    return found->isCopy || _server->tables().write(found->crtc, table);
}

void NPDisplayServicesX11::restoreColorSyncSettings()
{
    _server->tables().restoreBaseTables();
    _server->finishWriting();
}

void NPDisplayServicesX11::restoreOfflineDisplays()
{
    _server->tables().restoreIdleBaseTables();
}

bool NPDisplayServicesX11::isChanged() const
{
    return _server->tables().isChanged();
}

bool NPDisplayServicesX11::finishWriting()
{
    return _server->finishWriting();
}

NPDisplaySubscription
NPDisplayServicesX11::registerReconfigurationCallback(NPDisplayReconfigurationCallback callback)
{
    return _server->addCallback(std::move(callback));
}

NPDisplayProfile NPDisplayServicesX11::copyDisplayProfile(NPDisplayID display)
{
    const NPDisplayX11* const found = onlineDisplay(*_server, display);
    if (found == nullptr) {
        return {};
    }
    std::optional<QXData> content = _server->profile(*found);
    if (!content) {
        const auto known = _adoptedProfiles.find(display);
        return known == _adoptedProfiles.end() ? NPDisplayProfile() : adoptDisplayProfile(display, known->second);
    }
    if (auto profile = QXColorProfile::profileWithData(std::move(*content))) {
        return adoptDisplayProfile(display, std::move(*profile));
    }
    const QXDisplayColors colors = NPEdidColors(found->edid).value_or(QXStandardColors);
    auto profile = QXColorProfileForDisplay(colors, found->name.c_str());
    if (!profile) {
        profile = QXColorProfileForDisplay(QXStandardColors, found->name.c_str());
    }
    return adoptDisplayProfile(display, std::move(*profile));
}

NPDisplayProfile NPDisplayServicesX11::adoptDisplayProfile(NPDisplayID display, QXColorProfile profile)
{
    const NPDisplayX11* const found = onlineDisplay(*_server, display);
    if (found == nullptr) {
        return {};
    }
    _adoptedProfiles.insert_or_assign(display, profile);
    NPCrtcTablesX11& tables = _server->tables();
    const bool decides = profile.tag(QXVideoCardGammaTag) || profile.tag(QXBaseTableTag);
    NPDisplayProfile own = NPDisplayProfileFromColorProfile(std::move(profile));
    if (decides && own.baseTable.sampleCount == 0) {
        return own; // a damaged table of ours: the display is left alone
    }
    const auto base = found->isCopy ? tables.baseTable(found->crtc)
                      : decides     ? tables.setBaseTable(found->crtc, own.baseTable)
                                    : tables.baseTableWithoutProfile(found->crtc);
    own.baseTable = base.value_or(QXGammaTable{});
    return own;
}

NPDisplaySubscription NPDisplayServicesX11::registerProfileCallback(NPDisplayProfileCallback callback)
{
    std::erase_if(_profileCallbacks, [](const auto& entry) { return entry.expired(); });
    auto kept = std::make_shared<NPDisplayProfileCallback>(std::move(callback));
    _profileCallbacks.push_back(kept);
    return kept;
}

const std::string& NPDisplayServicesX11::serverName() const
{
    return _server->name();
}

std::optional<NPProfileAddressX11> NPDisplayServicesX11::profileAddress(NPDisplayID display) const
{
    const NPDisplayX11* const found = onlineDisplay(*_server, display);
    return found == nullptr ? std::nullopt
                            : std::optional(NPProfileAddressX11{
                                  _server->name(), found->connector, {found->output, found->monitor}});
}

void NPDisplayServicesX11::watchRootProfiles()
{
    _server->watchRootProfiles();
}

void NPDisplayServicesX11::_profileDidChange(NPDisplayID display)
{
    const auto callbacks = _profileCallbacks; // they may come and go meanwhile
    for (const auto& entry : callbacks) {
        if (const auto callback = entry.lock()) {
            (*callback)(display);
        }
    }
}
