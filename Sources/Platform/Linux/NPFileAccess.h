// Reading and writing whole files.
#pragma once

#include "Foundation/QXValue.h"

#include <cstddef>
#include <expected>
#include <string>

// The content of a regular file (or of a pipe, to its end). The error is one line without the path: why it
// cannot be read, or that it is larger than the limit, which is a
// number of bytes and at least 1 MiB.
std::expected<QXData, std::string> NPReadFile(const std::string& path, std::size_t limit = std::size_t{64} << 20);

// Puts the content in the place of whatever the path held: a temporary file beside it, on the disk before it
// takes the name, so that a reader finds the old content or the new one and a crash leaves one of them. A
// link keeps pointing where it points; an existing file keeps its permissions, a new one gets 0644. A
// pipe or a device is written into instead. The error is one line without the path.
std::expected<void, std::string> NPWriteFile(const std::string& path, const QXData& content);
