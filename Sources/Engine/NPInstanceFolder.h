// Where the instances of a user's session find each other.
#pragma once

#include <optional>
#include <string>

// The session's runtime folder or, without one, the settings folder, which is made when it is missing. Where that
// cannot be written to, a folder of the user's own among the temporary ones. An absolute path without a slash at the
// end; none when there is nothing to be had.
std::optional<std::string> NPInstanceFolder();
