// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace vello {

/// A temporary folder, removed with the object.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::string name = (parent / "vello-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr)
            throw std::system_error(errno, std::generic_category(), name);
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(std::string_view below) const { return path_ / below; }

private:
    std::filesystem::path path_;
};

/// Where many small files do not wait for a disk, if the machine has such a place.
inline std::filesystem::path folderInMemory() {
    return ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::filesystem::temp_directory_path();
}

/// Writes a file and creates its parent folders.
inline void writeTestFile(const std::filesystem::path& file, std::string_view content) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    stream.close();
    if (!stream)
        throw std::system_error(errno, std::generic_category(), file.string());
}

/// Empty also when the file does not exist.
inline std::string readTestFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace vello
