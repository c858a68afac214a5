#include "Platform/Linux/DBus/NPControlClientDBus.h"

#include "Foundation/QXUnicode.h"
#include "Platform/Linux/DBus/NPErrorDBus.h"
#include "Platform/Linux/DBus/NPValueDBus.h"

#include <exception>
#include <type_traits>
#include <utility>

namespace {

// Unlike the texts of an answer, what the user wrote is not changed on the way: an effect of another name
// would be made, or none be found.
void writeArgument(sdbus::Message& message, const std::string& text)
{
    if (NPTextForBus(text) != text) {
        throw NPBusErrorFromControlError({true, QXQuotedForLine(text) + " is not UTF-8 text"});
    }
    message << text;
}

void writeArgument(sdbus::Message& message, const NPControlSettings& settings)
{
    message.openContainer("{ss}");
    for (const auto& [key, text] : settings) {
        message.openDictEntry("ss");
        writeArgument(message, key);
        writeArgument(message, text);
        message.closeDictEntry();
    }
    message.closeContainer();
}

void writeArgument(sdbus::Message& message, const QXData& data)
{
    message << data;
}

void writeArgument(sdbus::Message& message, bool flag)
{
    message << flag;
}

void writeArgument(sdbus::Message& message, double number)
{
    message << number;
}

void readNothing(sdbus::Message&) {}

std::string readText(sdbus::Message& answer)
{
    return NPReadText(answer);
}

QXData readData(sdbus::Message& answer)
{
    return NPReadData(answer);
}

} // namespace

NPControlClientDBus::NPControlClientDBus(std::shared_ptr<sdbus::IConnection> connection, const std::string& owner)
    : _connection(std::move(connection)), _instance(sdbus::createProxy(*_connection, owner, NPBusObjectPath))
{
}

template<class Value, class... Arguments>
NPControlResult<Value> NPControlClientDBus::_call(const char* method, Value (*read)(sdbus::Message&),
                                                  const Arguments&... arguments)
{
    try {
        sdbus::MethodCall request = _instance->createMethodCall(NPBusInterface, method);
        (writeArgument(request, arguments), ...);
        sdbus::MethodReply answer = _instance->callMethod(request);
        if constexpr (std::is_void_v<Value>) {
            read(answer);
            return {};
        } else {
            return read(answer);
        }
    } catch (const sdbus::Error& error) {
        return std::unexpected(NPControlErrorFromBusError(error));
    } catch (const std::exception& exception) {
        return std::unexpected(NPControlError{false, NPLineOfException(exception)});
    }
}

NPControlResult<QXArray> NPControlClientDBus::effects()
{
    return _call("Effects", NPReadDictionaries);
}

NPControlResult<QXArray> NPControlClientDBus::screens()
{
    return _call("Screens", NPReadDictionaries);
}

NPControlResult<QXDictionary> NPControlClientDBus::status()
{
    return _call("Status", NPReadDictionary);
}

NPControlResult<void> NPControlClientDBus::activate(const std::string& effect, const std::string& fade)
{
    return _call("Activate", readNothing, effect, fade);
}

NPControlResult<void> NPControlClientDBus::deactivate(const std::string& effect, const std::string& fade)
{
    return _call("Deactivate", readNothing, effect, fade);
}

NPControlResult<void> NPControlClientDBus::toggle(const std::string& effect, const std::string& fade)
{
    return _call("Toggle", readNothing, effect, fade);
}

NPControlResult<void> NPControlClientDBus::setEffectActive(bool active)
{
    return _call("SetEffectActive", readNothing, active);
}

NPControlResult<std::string> NPControlClientDBus::addEffect(const std::string& name,
                                                            const NPControlSettings& settings)
{
    return _call("AddEffect", readText, name, settings);
}

NPControlResult<void> NPControlClientDBus::setEffect(const std::string& effect, const NPControlSettings& settings)
{
    return _call("SetEffect", readNothing, effect, settings);
}

NPControlResult<void> NPControlClientDBus::renameEffect(const std::string& effect, const std::string& name)
{
    return _call("RenameEffect", readNothing, effect, name);
}

NPControlResult<std::string> NPControlClientDBus::duplicateEffect(const std::string& effect)
{
    return _call("DuplicateEffect", readText, effect);
}

NPControlResult<void> NPControlClientDBus::removeEffect(const std::string& effect)
{
    return _call("RemoveEffect", readNothing, effect);
}

NPControlResult<std::string> NPControlClientDBus::importEffect(const QXData& file)
{
    return _call("ImportEffect", readText, file);
}

NPControlResult<QXData> NPControlClientDBus::exportEffect(const std::string& effect)
{
    return _call("ExportEffect", readData, effect);
}

NPControlResult<QXDictionary> NPControlClientDBus::location()
{
    return _call("Location", NPReadDictionary);
}

NPControlResult<void> NPControlClientDBus::setLocation(double latitude, double longitude)
{
    return _call("SetLocation", readNothing, latitude, longitude);
}

NPControlResult<QXDictionary> NPControlClientDBus::table(const std::string& screen)
{
    return _call("Table", NPReadDictionary, screen);
}

NPControlResult<void> NPControlClientDBus::restore()
{
    return _call("Restore", readNothing);
}
