// A control served on the bus. Nightpane's side of org.nightpane.Nightpane1.xml, where the methods, properties
// and signals are described.
#pragma once

#include "Platform/Linux/DBus/NPServingDBus.h"
#include "Platform/Linux/NPControlModule.h"

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class NPControlServiceDBus final : public NPControlExport {
public:
    // Throws sdbus::Error when the object or the name cannot be had. The connection is served from the loop
    // from now on; `lost` is called when the bus goes.
    NPControlServiceDBus(std::shared_ptr<sdbus::IConnection> connection, NPControl& control, NPMainLoopLinux& loop,
                         const NPControlModuleHost& host, std::function<void()> lost);
    ~NPControlServiceDBus() override;

    void emitEffectsChanged() override;
    void emitStateChanged(bool effectActive) override;

private:
    struct Parameter {
        std::string name;
        std::string type;
    };
    using Handler = std::function<void(sdbus::Message& request, sdbus::Message& reply)>;

    void _addLists();
    void _addSwitching();
    void _addEditing();
    void _addFiles();
    void _addPlaceAndScreens();
    void _addProperties();
    void _addSignals();
    void _addMethod(std::string name, const std::vector<Parameter>& inputs, const std::vector<Parameter>& outputs,
                    Handler handler);
    bool _effectActive();

    const std::shared_ptr<sdbus::IConnection> _connection;
    NPControl& _control;
    const std::unique_ptr<sdbus::IObject> _object;
    std::shared_ptr<NPServingDBus> _serving;
    bool _announcedEffectActive = false;
};
