// The instance that runs, seen from another process: each operation is one call over the bus, and waits for
// its answer.
#pragma once

#include "Platform/NPControl.h"

#include <sdbus-c++/sdbus-c++.h>

#include <memory>
#include <string>

class NPControlClientDBus final : public NPControl {
public:
    // The owner is the unique name of the instance's connection: a successor is another instance.
    NPControlClientDBus(std::shared_ptr<sdbus::IConnection> connection, const std::string& owner);

    NPControlResult<QXArray> effects() override;
    NPControlResult<QXArray> screens() override;
    NPControlResult<QXDictionary> status() override;
    NPControlResult<void> activate(const std::string& effect, const std::string& fade) override;
    NPControlResult<void> deactivate(const std::string& effect, const std::string& fade) override;
    NPControlResult<void> toggle(const std::string& effect, const std::string& fade) override;
    NPControlResult<void> setEffectActive(bool active) override;
    NPControlResult<std::string> addEffect(const std::string& name, const NPControlSettings& settings) override;
    NPControlResult<void> setEffect(const std::string& effect, const NPControlSettings& settings) override;
    NPControlResult<void> renameEffect(const std::string& effect, const std::string& name) override;
    NPControlResult<std::string> duplicateEffect(const std::string& effect) override;
    NPControlResult<void> removeEffect(const std::string& effect) override;
    NPControlResult<std::string> importEffect(const QXData& file) override;
    NPControlResult<QXData> exportEffect(const std::string& effect) override;
    NPControlResult<QXDictionary> location() override;
    NPControlResult<void> setLocation(double latitude, double longitude) override;
    NPControlResult<QXDictionary> table(const std::string& screen) override;
    NPControlResult<void> restore() override;

private:
    template<class Value, class... Arguments>
    NPControlResult<Value> _call(const char* method, Value (*read)(sdbus::Message& answer),
                                 const Arguments&... arguments);

    const std::shared_ptr<sdbus::IConnection> _connection;
    const std::unique_ptr<sdbus::IProxy> _instance;
};
