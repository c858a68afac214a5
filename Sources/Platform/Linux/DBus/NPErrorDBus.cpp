#include "Platform/Linux/DBus/NPErrorDBus.h"

#include "Platform/Linux/DBus/NPValueDBus.h"

#include <algorithm>
#include <string_view>

namespace {

const std::string misuseError = "org.nightpane.Error.Misuse";
const std::string failedError = "org.nightpane.Error.Failed";

std::string oneLine(std::string text)
{
    std::ranges::replace_if(text, [](char character) { return character == '\n' || character == '\r'; }, ' ');
    return text;
}

bool isAnyOf(std::string_view name, std::initializer_list<std::string_view> names)
{
    return std::ranges::find(names, name) != names.end();
}

} // namespace

sdbus::Error NPBusErrorFromControlError(const NPControlError& error)
{
    return {error.misuse ? misuseError : failedError, NPTextForBus(oneLine(error.message))};
}

NPControlError NPControlErrorFromBusError(const sdbus::Error& error)
{
    const std::string& name = error.getName();
    if (isAnyOf(name, {misuseError, failedError})) {
        return {name == misuseError, oneLine(error.getMessage())};
    }
    if (isAnyOf(name, {"org.freedesktop.DBus.Error.Timeout", "System.Error.ETIMEDOUT"})) {
        return {false, "the running instance does not answer"};
    }
    if (isAnyOf(name, {"org.freedesktop.DBus.Error.NoReply", "org.freedesktop.DBus.Error.ServiceUnknown",
                       "org.freedesktop.DBus.Error.NameHasNoOwner"})) {
        return {false, "the running instance has ended"};
    }
    return {false, "the running instance cannot be asked: " + NPLineOfException(error)};
}

std::string NPLineOfException(const std::exception& exception)
{
    const auto* const error = dynamic_cast<const sdbus::Error*>(&exception);
    return oneLine(error != nullptr && !error->getMessage().empty() ? error->getMessage() : exception.what());
}
