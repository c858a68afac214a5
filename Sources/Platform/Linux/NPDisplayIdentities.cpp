#include "Platform/Linux/NPDisplayIdentities.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace {

NPDisplayID hashed(std::string_view text)
{
    std::uint32_t hash = 2166136261U;
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
    }
    return hash;
}

} // namespace

std::vector<NPDisplayID> NPDisplayIdentities::identify(std::span<const Screen> screens)
{
    const auto former = std::exchange(_known, {});
    std::vector<std::size_t> newcomers;
    for (std::size_t i = 0; i < screens.size(); ++i) {
        const auto found = former.find(screens[i].output);
        if (found != former.end() && found->second.edidIdentity == screens[i].edidIdentity) {
            _known.insert(*found);
        } else {
            newcomers.push_back(i);
        }
    }
    // By name: the order in which a platform lists its outputs may depend on which came first.
    std::ranges::sort(newcomers, {}, [&](std::size_t i) -> const std::string& { return screens[i].connector; });
    for (const std::size_t i : newcomers) {
        _known.insert_or_assign(screens[i].output, Known{screens[i].edidIdentity, _freeIdentifier(screens[i])});
    }

    std::vector<NPDisplayID> identifiers;
    for (const Screen& screen : screens) {
        identifiers.push_back(_known.at(screen.output).identifier);
    }
    return identifiers;
}

NPDisplayID NPDisplayIdentities::_freeIdentifier(const Screen& screen) const
{
    std::string text = screen.edidIdentity.empty() ? screen.connector : screen.edidIdentity;
    NPDisplayID identifier = hashed(text);
    // A twin, or (hardly ever) another display with the same hash.
    while (identifier == 0 || _isTaken(identifier)) {
        text += '@';
        text += screen.connector;
        identifier = hashed(text);
    }
    return identifier;
}

bool NPDisplayIdentities::_isTaken(NPDisplayID identifier) const
{
    return std::ranges::any_of(_known, [&](const auto& entry) { return entry.second.identifier == identifier; });
}
