#include "Platform/Linux/DBus/NPControlServiceDBus.h"

#include "Platform/Linux/DBus/NPErrorDBus.h"
#include "Platform/Linux/DBus/NPValueDBus.h"

#include <exception>
#include <utility>

namespace {

// Far beyond what people write, and little enough for a request to be nothing to the engine.
constexpr NPReadingLimits limits{.textBytes = 4096, .dataBytes = NPEffectFileSizeLimit, .settings = 64};

std::string readText(sdbus::Message& request)
{
    return NPReadText(request, limits);
}

template<class Work> void tellBus(const Work& work)
{
    try {
        work();
    } catch (const std::exception&) {
        return; // the bus has gone, which the loop notices by itself; nobody would hear it
    }
}

// Runs a handler, whose every failure becomes an error reply: no exception may pass through the C library
// that called us, except the kind that its wrapper catches.
template<class Work> void answer(const Work& work)
{
    try {
        work();
    } catch (const sdbus::Error&) {
        throw;
    } catch (const std::exception& exception) {
        throw NPBusErrorFromControlError({false, NPLineOfException(exception)});
    }
}

} // namespace

NPControlServiceDBus::NPControlServiceDBus(std::shared_ptr<sdbus::IConnection> connection, NPControl& control,
                                           NPMainLoopLinux& loop, const NPControlModuleHost& host,
                                           std::function<void()> lost)
    : _connection(std::move(connection)), _control(control),
      _object(sdbus::createObject(*_connection, NPBusObjectPath))
{
    _addLists();
    _addSwitching();
    _addEditing();
    _addFiles();
    _addPlaceAndScreens();
    _addProperties();
    _addSignals();
    _object->finishRegistration();
    _announcedEffectActive = _effectActive();
    _connection->requestName(NPBusName); // last: whoever sees the name finds everything there
    _serving = NPServingDBus::start(_connection, loop, host, [&host, lost = std::move(lost)] {
        host.log("The session bus has gone; commands cannot reach this instance until it is back");
        lost();
    });
}

// The name is given back without waiting for the bus, which may hang while everything else wants to end.
NPControlServiceDBus::~NPControlServiceDBus()
{
    tellBus([this] {
        const auto bus = sdbus::createProxy(*_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
        sdbus::MethodCall release = bus->createMethodCall("org.freedesktop.DBus", "ReleaseName");
        release << NPBusName;
        release.dontExpectReply();
        bus->callMethod(release);
    });
}

void NPControlServiceDBus::emitEffectsChanged()
{
    tellBus([this] { _object->emitSignal(_object->createSignal(NPBusInterface, "EffectsChanged")); });
}

void NPControlServiceDBus::emitStateChanged(bool effectActive)
{
    tellBus([&] {
        sdbus::Signal signal = _object->createSignal(NPBusInterface, "StateChanged");
        signal << effectActive;
        _object->emitSignal(signal);
        if (std::exchange(_announcedEffectActive, effectActive) != effectActive) {
            _object->emitPropertiesChangedSignal(NPBusInterface, {"EffectActive"});
        }
    });
}

void NPControlServiceDBus::_addLists()
{
    _addMethod("Effects", {}, {{"effects", "aa{sv}"}}, [this](sdbus::Message&, sdbus::Message& reply) {
        NPWriteDictionaries(reply, NPValueOrThrow(_control.effects()));
    });
    _addMethod("Screens", {}, {{"screens", "aa{sv}"}}, [this](sdbus::Message&, sdbus::Message& reply) {
        NPWriteDictionaries(reply, NPValueOrThrow(_control.screens()));
    });
    _addMethod("Status", {}, {{"status", "a{sv}"}}, [this](sdbus::Message&, sdbus::Message& reply) {
        NPWriteDictionary(reply, NPValueOrThrow(_control.status()));
    });
}

void NPControlServiceDBus::_addSwitching()
{
    using Switch = NPControlResult<void> (NPControl::*)(const std::string&, const std::string&);
    const auto addSwitch = [this](const char* name, Switch operation) {
        _addMethod(name, {{"effect", "s"}, {"fade", "s"}}, {},
                   [this, operation](sdbus::Message& request, sdbus::Message&) {
                       const std::string effect = readText(request);
                       const std::string fade = readText(request);
                       NPValueOrThrow((_control.*operation)(effect, fade));
                   });
    };
    addSwitch("Activate", &NPControl::activate);
    addSwitch("Deactivate", &NPControl::deactivate);
    addSwitch("Toggle", &NPControl::toggle);
    _addMethod("SetEffectActive", {{"active", "b"}}, {}, [this](sdbus::Message& request, sdbus::Message&) {
        bool active = false;
        request >> active;
        NPValueOrThrow(_control.setEffectActive(active));
    });
}

void NPControlServiceDBus::_addEditing()
{
    _addMethod("AddEffect", {{"name", "s"}, {"settings", "a{ss}"}}, {{"identifier", "s"}},
               [this](sdbus::Message& request, sdbus::Message& reply) {
                   const std::string name = readText(request);
                   const NPControlSettings settings = NPReadSettings(request, limits);
                   NPWriteText(reply, NPValueOrThrow(_control.addEffect(name, settings)));
               });
    _addMethod("SetEffect", {{"effect", "s"}, {"settings", "a{ss}"}}, {},
               [this](sdbus::Message& request, sdbus::Message&) {
                   const std::string effect = readText(request);
                   NPValueOrThrow(_control.setEffect(effect, NPReadSettings(request, limits)));
               });
    _addMethod("RenameEffect", {{"effect", "s"}, {"name", "s"}}, {},
               [this](sdbus::Message& request, sdbus::Message&) {
                   const std::string effect = readText(request);
                   NPValueOrThrow(_control.renameEffect(effect, readText(request)));
               });
    _addMethod("DuplicateEffect", {{"effect", "s"}}, {{"identifier", "s"}},
               [this](sdbus::Message& request, sdbus::Message& reply) {
                   NPWriteText(reply, NPValueOrThrow(_control.duplicateEffect(readText(request))));
               });
    _addMethod("RemoveEffect", {{"effect", "s"}}, {}, [this](sdbus::Message& request, sdbus::Message&) {
        NPValueOrThrow(_control.removeEffect(readText(request)));
    });
}

void NPControlServiceDBus::_addFiles()
{
    _addMethod("ImportEffect", {{"file", "ay"}}, {{"identifier", "s"}},
               [this](sdbus::Message& request, sdbus::Message& reply) {
                   NPWriteText(reply, NPValueOrThrow(_control.importEffect(NPReadData(request, limits))));
               });
    _addMethod("ExportEffect", {{"effect", "s"}}, {{"file", "ay"}},
               [this](sdbus::Message& request, sdbus::Message& reply) {
                   NPWriteData(reply, NPValueOrThrow(_control.exportEffect(readText(request))));
               });
}

void NPControlServiceDBus::_addPlaceAndScreens()
{
    _addMethod("Location", {}, {{"location", "a{sv}"}}, [this](sdbus::Message&, sdbus::Message& reply) {
        NPWriteDictionary(reply, NPValueOrThrow(_control.location()));
    });
    _addMethod("SetLocation", {{"latitude", "d"}, {"longitude", "d"}}, {},
               [this](sdbus::Message& request, sdbus::Message&) {
                   double latitude = 0.0;
                   double longitude = 0.0;
                   request >> latitude >> longitude;
                   NPValueOrThrow(_control.setLocation(latitude, longitude));
               });
    _addMethod("Table", {{"screen", "s"}}, {{"table", "a{sv}"}},
               [this](sdbus::Message& request, sdbus::Message& reply) {
                   NPWriteDictionary(reply, NPValueOrThrow(_control.table(readText(request))));
               });
    _addMethod("Restore", {}, {},
               [this](sdbus::Message&, sdbus::Message&) { NPValueOrThrow(_control.restore()); });
}

void NPControlServiceDBus::_addProperties()
{
    _object->registerProperty(
        NPBusInterface, "EffectActive", "b",
        [this](sdbus::PropertyGetReply& reply) { answer([&] { reply << _effectActive(); }); },
        [this](sdbus::PropertySetCall& request) {
            answer([&] {
                bool active = false;
                request >> active;
                NPValueOrThrow(_control.setEffectActive(active));
            });
        });

    sdbus::Flags constant;
    constant.set(sdbus::Flags::CONST_PROPERTY_VALUE);
    const auto version = [this](sdbus::PropertyGetReply& reply) {
        answer([&] {
            const QXDictionary status = NPValueOrThrow(_control.status());
            const QXValue* const text = QXDictionaryValue(status, "version");
            NPWriteText(reply, text != nullptr && text->string() != nullptr ? *text->string() : "");
        });
    };
    _object->registerProperty(NPBusInterface, "Version", "s", version, constant);
}

void NPControlServiceDBus::_addSignals()
{
    _object->registerSignal(NPBusInterface, "EffectsChanged", "");
    _object->registerSignal(NPBusInterface, "StateChanged", "b", {"active"});
}

void NPControlServiceDBus::_addMethod(std::string name, const std::vector<Parameter>& inputs,
                                      const std::vector<Parameter>& outputs, Handler handler)
{
    std::string inputTypes;
    std::string outputTypes;
    std::vector<std::string> inputNames;
    std::vector<std::string> outputNames;
    for (const auto& [parameter, type] : inputs) {
        inputNames.push_back(parameter);
        inputTypes += type;
    }
    for (const auto& [parameter, type] : outputs) {
        outputNames.push_back(parameter);
        outputTypes += type;
    }
    // sd-bus has compared the request's types with the input types when it calls.
    const auto callback = [handler = std::move(handler)](sdbus::MethodCall request) {
        answer([&] {
            sdbus::MethodReply reply = request.createReply();
            handler(request, reply);
            reply.send();
        });
    };
    _object->registerMethod(NPBusInterface, std::move(name), inputTypes, inputNames, outputTypes, outputNames,
                            callback);
}

bool NPControlServiceDBus::_effectActive()
{
    const QXDictionary status = NPValueOrThrow(_control.status());
    const QXValue* const active = QXDictionaryValue(status, "active");
    return active != nullptr && active->boolean().value_or(false);
}
