// The files under Tests/Data.
#pragma once

#include <string>
#include <string_view>

// The full path of a file, named from Tests/Data on: "BrokenPropertyLists/Truncated.plist".
std::string NPTestDataFile(std::string_view name);
