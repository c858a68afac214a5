// The program as it is installed on Linux: its folder, and what was decided when it was built.
#pragma once

#include "Platform/NPBundle.h"

// The version of the operating system, as it names it ("12"); empty when it does not.
std::string NPSystemVersion();

class NPProgramBundle final : public NPBundle {
public:
    NPProgramBundle();

    std::string bundleIdentifier() const override { return "org.nightpane.Nightpane"; }
    std::string bundlePath() const override { return _path; }
    const QXDictionary& infoDictionary() const override { return _info; }
    std::optional<QXData> resource(std::string_view name, std::string_view type) const override;

private:
    std::string _path;
    QXDictionary _info;
};
