// A private folder that goes with its content when the test ends.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

class NPTemporaryFolder {
public:
    NPTemporaryFolder()
    {
        std::string name = std::filesystem::temp_directory_path() / "nightpane-test-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        _path = name;
    }
    ~NPTemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }
    NPTemporaryFolder(const NPTemporaryFolder&) = delete;
    NPTemporaryFolder& operator=(const NPTemporaryFolder&) = delete;

    std::filesystem::path operator/(std::string_view name) const { return _path / name; }
    const std::filesystem::path& path() const { return _path; }

private:
    std::filesystem::path _path;
};

template<class Bytes = std::string> Bytes contentOf(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return Bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

template<class Bytes> void writeFile(const std::filesystem::path& path, const Bytes& bytes)
{
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}
