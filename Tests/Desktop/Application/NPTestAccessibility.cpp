#include "Desktop/Application/NPTestAccessibility.h"

#include "Desktop/Support/NPTestProgram.h"

#include <algorithm>
#include <stdexcept>

namespace {

constexpr const char* rootPath = "/org/a11y/atspi/accessible/root";
constexpr const char* accessible = "org.a11y.atspi.Accessible";

// Numbers of AT-SPI's states.
enum State : unsigned { enabled = 8, focusable = 11, focused = 12, showing = 25 };

bool has(const std::vector<std::uint32_t>& states, State state)
{
    return states.size() > state / 32 && (states[state / 32] >> (state % 32) & 1U) != 0;
}

std::string textProperty(sdbus::IProxy& proxy, const char* name)
{
    const sdbus::Variant value = proxy.getProperty(name).onInterface(accessible);
    return value.containsValueOfType<std::string>() ? value.get<std::string>() : std::string();
}

} // namespace

NPTestAccessibility::NPTestAccessibility(const std::string& busAddress)
    : _connection(sdbus::createSessionBusConnectionWithAddress(busAddress)),
      _caller(sdbus::createSessionBusConnectionWithAddress(busAddress)),
      _bus(sdbus::createObject(*_connection, "/org/a11y/bus")),
      _registry(sdbus::createObject(*_connection, rootPath))
{
    _bus->registerMethod("GetAddress").onInterface("org.a11y.Bus").implementedAs([busAddress] {
        return busAddress;
    });
    for (const char* const name : {"IsEnabled", "ScreenReaderEnabled"}) {
        _bus->registerProperty(name).onInterface("org.a11y.Status").withGetter([] { return true; });
    }
    _bus->finishRegistration();
    _registry->registerMethod("Embed")
        .onInterface("org.a11y.atspi.Socket")
        .implementedAs([this](const Reference& program) {
            const std::lock_guard lock(_mutex);
            _service = program.get<0>();
            return Reference(std::string("org.a11y.atspi.Registry"), sdbus::ObjectPath(rootPath));
        });
    _registry->finishRegistration();
    _connection->requestName("org.a11y.atspi.Registry");
    _connection->requestName("org.a11y.Bus");
    _connection->enterEventLoopAsync();
}

NPTestAccessibility::~NPTestAccessibility()
{
    _connection->leaveEventLoop();
}

std::string NPTestAccessibility::_application() const
{
    const std::lock_guard lock(_mutex);
    return _service;
}

// Windows come and go meanwhile: what has gone is left out.
void NPTestAccessibility::_collect(const Reference& reference, std::vector<Element>& found) const
{
    const auto proxy = sdbus::createProxy(*_caller, reference.get<0>(), reference.get<1>());
    std::vector<Reference> children;
    std::vector<std::uint32_t> states;
    Element element;
    try {
        proxy->callMethod("GetState").onInterface(accessible).storeResultsTo(states);
        if (reference.get<1>() != rootPath) {
            if (!has(states, showing)) {
                return;
            }
            proxy->callMethod("GetRoleName").onInterface(accessible).storeResultsTo(element.role);
            element.name = textProperty(*proxy, "Name");
            element.description = textProperty(*proxy, "Description");
            element.path = reference.get<1>();
            element.isFocused = has(states, focused);
            element.isEnabled = has(states, enabled);
            element.canFocus = has(states, focusable);
            found.push_back(element);
        }
        proxy->callMethod("GetChildren").onInterface(accessible).storeResultsTo(children);
    } catch (const sdbus::Error&) {
        return;
    }
    for (const Reference& child : children) {
        _collect(child, found);
    }
}

std::vector<NPTestAccessibility::Element> NPTestAccessibility::elements() const
{
    std::vector<Element> found;
    const std::string service = _application();
    if (!service.empty()) {
        _collect(Reference(service, sdbus::ObjectPath(rootPath)), found);
    }
    return found;
}

std::optional<NPTestAccessibility::Element> NPTestAccessibility::_find(const std::string& name) const
{
    const std::vector<Element> all = elements();
    const auto found = std::ranges::find(all, name, &Element::name);
    return found == all.end() ? std::nullopt : std::optional(*found);
}

bool NPTestAccessibility::shows(const std::string& name) const
{
    return _find(name).has_value();
}

std::optional<NPTestAccessibility::Element> NPTestAccessibility::elementNamed(const std::string& name) const
{
    std::optional<Element> found;
    NPTestEventually([&] {
        found = _find(name);
        return found.has_value();
    });
    return found;
}

std::string NPTestAccessibility::textOf(const std::string& name) const
{
    const std::optional<Element> element = _find(name);
    return element ? textAt(*element) : std::string();
}

std::string NPTestAccessibility::textAt(const Element& element) const
{
    const auto proxy = sdbus::createProxy(*_caller, _application(), element.path);
    std::string text;
    proxy->callMethod("GetText")
        .onInterface("org.a11y.atspi.Text")
        .withArguments(std::int32_t{0}, std::int32_t{-1})
        .storeResultsTo(text);
    return text;
}

void NPTestAccessibility::press(const std::string& name) const
{
    const std::optional<Element> element = elementNamed(name);
    if (!element) {
        throw std::runtime_error("nothing is shown that is called " + name);
    }
    const auto proxy = sdbus::createProxy(*_caller, _application(), element->path);
    bool isDone = false;
    proxy->callMethod("DoAction")
        .onInterface("org.a11y.atspi.Action")
        .withArguments(std::int32_t{0})
        .storeResultsTo(isDone);
}
