#include "Platform/Linux/NPSettingsFile.h"

#include "Foundation/QXPropertyList.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

constexpr const char* fileName = "org.nightpane.Nightpane.plist";
constexpr mode_t ownerOnlyFolder = 0700;
constexpr mode_t ownerOnlyFile = 0600;

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

std::int64_t nanoseconds(const timespec& time)
{
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

std::expected<QXData, std::error_code> contentOf(int descriptor, std::size_t expectedSize)
{
    QXData content(expectedSize + 1); // one more, to see the end without a further turn
    std::size_t size = 0;
    for (;;) {
        const ssize_t count = ::read(descriptor, content.data() + size, content.size() - size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return std::unexpected(lastError());
        }
        if (count == 0) {
            content.resize(size);
            return content;
        }
        size += static_cast<std::size_t>(count);
        if (size == content.size()) {
            content.resize(2 * size);
        }
    }
}

std::error_code writeAll(int descriptor, std::span<const std::uint8_t> content)
{
    while (!content.empty()) {
        const ssize_t count = ::write(descriptor, content.data(), content.size());
        if (count < 0 && errno != EINTR) {
            return lastError();
        }
        content = content.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return ::fsync(descriptor) == 0 ? std::error_code() : lastError();
}

// So that the new name survives a power failure. Not every file system can; the file is then as safe as it
// gets.
void flushFolder(const std::filesystem::path& folder)
{
    const NPFileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor) {
        ::fsync(descriptor.get());
    }
}

// rename() that never replaces what has the new name.
std::error_code renameToFreeName(const std::filesystem::path& from, const std::filesystem::path& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return {};
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return lastError();
    }
    // A file system without that call: look first. Others of our kind are kept off by the lock.
    std::error_code ignored;
    if (std::filesystem::symlink_status(to, ignored).type() != std::filesystem::file_type::not_found) {
        return std::make_error_code(std::errc::file_exists);
    }
    return ::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : lastError();
}

} // namespace

NPSettingsFile::Version::Version(const struct stat& status)
    : _device(status.st_dev), _inode(status.st_ino), _size(status.st_size), _modified(nanoseconds(status.st_mtim)),
      _changed(nanoseconds(status.st_ctim))
{
}

NPSettingsFile::NPSettingsFile(const std::filesystem::path& folder) : _path(folder / fileName) {}

std::filesystem::path NPSettingsFile::target() const
{
    static constexpr int mostLinks = 40; // as many as the kernel follows
    std::filesystem::path path = _path;
    std::error_code error;
    for (int i = 0; i < mostLinks && std::filesystem::is_symlink(path, error); ++i) {
        const std::filesystem::path next = std::filesystem::read_symlink(path, error);
        path = path.parent_path() / next; // an absolute one replaces all
    }
    return path;
}

std::optional<NPSettingsFile::Version> NPSettingsFile::version() const
{
    struct stat status = {};
    return ::stat(_path.c_str(), &status) == 0 ? std::optional(Version(status)) : std::nullopt;
}

std::expected<NPSettingsFile::Content, NPSettingsFile::ReadError> NPSettingsFile::read() const
{
    // A pipe by that name must not make us wait for its other end.
    const NPFileDescriptor descriptor(::open(_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (!descriptor || ::fstat(descriptor.get(), &status) != 0) {
        const std::error_code error = lastError();
        if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory) {
            return Content{};
        }
        const bool isBroken =
            error == std::errc::permission_denied || error == std::errc::too_many_symbolic_link_levels;
        return std::unexpected(ReadError{error.message(), isBroken});
    }
    if (!S_ISREG(status.st_mode)) {
        return std::unexpected(ReadError{"it is no regular file", true});
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > QXPropertyListLimits().bytes) {
        return std::unexpected(ReadError{"it is too large", true});
    }
    const auto bytes = contentOf(descriptor.get(), size);
    if (!bytes) {
        return std::unexpected(ReadError{bytes.error().message(), false});
    }
    const auto value = QXPropertyListFromData(*bytes);
    if (!value) {
        return std::unexpected(ReadError{value.error(), true});
    }
    if (!value->dictionary()) {
        return std::unexpected(ReadError{"its property list is no dictionary", true});
    }
    return Content{*value->dictionary(), Version(status)};
}

std::error_code NPSettingsFile::makeFolder() const
{
    // create_directories() would ask for more rights than these files need.
    std::filesystem::path folder;
    for (const std::filesystem::path& piece : _path.parent_path()) {
        folder /= piece;
        if (::mkdir(folder.c_str(), ownerOnlyFolder) != 0 && errno != EEXIST) {
            const std::error_code error = lastError();
            std::error_code ignored;
            if (!std::filesystem::is_directory(folder, ignored)) {
                return error;
            }
        }
    }
    return {};
}

std::expected<NPFileDescriptor, std::error_code> NPSettingsFile::lock(std::chrono::milliseconds patience) const
{
    static constexpr std::chrono::milliseconds pause(2);
    if (const std::error_code error = makeFolder()) {
        return std::unexpected(error);
    }
    std::filesystem::path path = _path;
    path += ".lock";
    // Open for reading, so that closing it is no event for those who watch the folder for written files.
    NPFileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, ownerOnlyFile));
    if (!descriptor) {
        return std::unexpected(lastError());
    }
    for (std::chrono::milliseconds waited(0); ::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0; waited += pause) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            break; // a file system without locks: the rename alone has to do
        }
        if (waited >= patience) {
            return std::unexpected(std::make_error_code(std::errc::resource_unavailable_try_again));
        }
        std::this_thread::sleep_for(pause);
    }
    return descriptor;
}

std::expected<NPSettingsFile::Version, std::error_code>
NPSettingsFile::replace(std::span<const std::uint8_t> content) const
{
    const std::filesystem::path path = target();
    std::string temporary = path.string() + ".XXXXXX";
    const NPFileDescriptor descriptor(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!descriptor) {
        return std::unexpected(lastError());
    }
    std::error_code error = writeAll(descriptor.get(), content);
    if (!error && ::rename(temporary.c_str(), path.c_str()) != 0) {
        error = lastError();
    }
    struct stat status = {};
    if (!error && ::fstat(descriptor.get(), &status) != 0) {
        error = lastError();
    }
    if (error) {
        ::unlink(temporary.c_str());
        return std::unexpected(error);
    }
    flushFolder(path.parent_path());
    return Version(status);
}

std::expected<std::filesystem::path, std::error_code> NPSettingsFile::setAside(QXDate date) const
{
    static constexpr int mostNames = 1000;
    // A link to a device or a folder is renamed itself: what it leads to is not ours to move.
    std::error_code ignored;
    const std::filesystem::path path = std::filesystem::is_regular_file(_path, ignored) ? target() : _path;
    std::string stem = path.string() + ".unreadable-" + QXDateDescription(date);
    std::ranges::replace(stem, ':', '-'); // other systems' file names have none
    std::error_code error;
    for (int number = 1; number <= mostNames; ++number) {
        const std::filesystem::path name = number == 1 ? stem : stem + '-' + std::to_string(number);
        error = renameToFreeName(path, name);
        if (!error) {
            return name;
        }
        if (error != std::errc::file_exists) {
            break;
        }
    }
    return std::unexpected(error);
}
