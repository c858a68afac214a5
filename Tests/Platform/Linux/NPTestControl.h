// A control that notes what it is asked and answers what the test has prepared.
#pragma once

#include "Foundation/QXString.h"
#include "Platform/NPControl.h"

#include <functional>
#include <string>
#include <vector>

class NPTestControl final : public NPControl {
public:
    std::vector<std::string> requests;
    std::optional<NPControlError> error; // what every operation but status() ends with
    std::function<void()> duringRequest; // called by every operation but status()

    QXArray list;
    QXDictionary dictionary;
    std::string identifier = "NEW";
    QXData file;
    bool effectActive = false;

    NPControlResult<QXArray> effects() override { return _answer("effects", list); }
    NPControlResult<QXArray> screens() override { return _answer("screens", list); }
    NPControlResult<QXDictionary> status() override
    {
        return QXDictionary{{"version", "1.2.3"}, {"active", effectActive}};
    }
    NPControlResult<void> activate(const std::string& effect, const std::string& fade) override
    {
        return _done("activate " + effect + ' ' + fade);
    }
    NPControlResult<void> deactivate(const std::string& effect, const std::string& fade) override
    {
        return _done("deactivate " + effect + ' ' + fade);
    }
    NPControlResult<void> toggle(const std::string& effect, const std::string& fade) override
    {
        return _done("toggle " + effect + ' ' + fade);
    }
    NPControlResult<void> setEffectActive(bool active) override
    {
        effectActive = active;
        return _done(std::string("setEffectActive ") + (active ? "yes" : "no"));
    }
    NPControlResult<std::string> addEffect(const std::string& name, const NPControlSettings& settings) override
    {
        return _answer("addEffect " + name + _text(settings), identifier);
    }
    NPControlResult<void> setEffect(const std::string& effect, const NPControlSettings& settings) override
    {
        return _done("setEffect " + effect + _text(settings));
    }
    NPControlResult<void> renameEffect(const std::string& effect, const std::string& name) override
    {
        return _done("renameEffect " + effect + ' ' + name);
    }
    NPControlResult<std::string> duplicateEffect(const std::string& effect) override
    {
        return _answer("duplicateEffect " + effect, identifier);
    }
    NPControlResult<void> removeEffect(const std::string& effect) override
    {
        return _done("removeEffect " + effect);
    }
    NPControlResult<std::string> importEffect(const QXData& data) override
    {
        file = data;
        return _answer("importEffect", identifier);
    }
    NPControlResult<QXData> exportEffect(const std::string& effect) override
    {
        return _answer("exportEffect " + effect, file);
    }
    NPControlResult<QXDictionary> location() override { return _answer("location", dictionary); }
    NPControlResult<void> setLocation(double latitude, double longitude) override
    {
        return _done("setLocation " + QXDoubleDescription(latitude) + ' ' + QXDoubleDescription(longitude));
    }
    NPControlResult<QXDictionary> table(const std::string& screen) override
    {
        return _answer("table " + screen, dictionary);
    }
    NPControlResult<void> restore() override { return _done("restore"); }

private:
    template<class Value> NPControlResult<Value> _answer(std::string request, const Value& value)
    {
        if (const NPControlResult<void> done = _done(std::move(request)); !done) {
            return std::unexpected(done.error());
        }
        return value;
    }
    NPControlResult<void> _done(std::string request)
    {
        requests.push_back(std::move(request));
        if (duringRequest) {
            duringRequest();
        }
        return error ? NPControlResult<void>(std::unexpected(*error)) : NPControlResult<void>();
    }
    static std::string _text(const NPControlSettings& settings)
    {
        std::string text;
        for (const auto& [key, value] : settings) {
            text += ' ' + key + '=' + value;
        }
        return text;
    }
};
