// Reads and works the windows of a program as a screen reader does, over AT-SPI: the texts and controls that are
// shown, by what they are called.
//
// It is the registry that programs report to. Set up before the program starts, on a session bus.
#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

class NPTestAccessibility {
public:
    // Something of a window that is shown.
    struct Element {
        std::string role; // "push button", "label", "frame"
        std::string name;
        std::string description;
        std::string path;
        bool isFocused = false;
        bool isEnabled = false;
        bool canFocus = false;
    };

    explicit NPTestAccessibility(const std::string& busAddress);
    ~NPTestAccessibility();
    NPTestAccessibility(const NPTestAccessibility&) = delete;
    NPTestAccessibility& operator=(const NPTestAccessibility&) = delete;

    // What is shown of the program's windows, from the outside inwards. Empty while there is no program.
    std::vector<Element> elements() const;

    // Waits until something with this name is shown; none when it does not come.
    std::optional<Element> elementNamed(const std::string& name) const;

    // What is written in it, for example in a view of text; empty when it is not shown.
    std::string textOf(const std::string& name) const;
    std::string textAt(const Element& element) const;

    // Whether the name is shown, without waiting.
    bool shows(const std::string& name) const;

    // Waits for it, and does what it is there for: presses the button. Throws when it does not come.
    void press(const std::string& name) const;

private:
    using Reference = sdbus::Struct<std::string, sdbus::ObjectPath>;

    void _collect(const Reference& reference, std::vector<Element>& found) const;
    std::optional<Element> _find(const std::string& name) const;
    std::string _application() const;

    std::unique_ptr<sdbus::IConnection> _connection; // the registry's, served by a thread
    std::unique_ptr<sdbus::IConnection> _caller;
    std::unique_ptr<sdbus::IObject> _bus; // says that somebody is there
    std::unique_ptr<sdbus::IObject> _registry;
    mutable std::mutex _mutex;
    std::string _service; // of the last program that has reported
};
