// SPDX-License-Identifier: Apache-2.0
#include "Spool.h"

#include "Foundation/Files.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string>
#include <system_error>
#include <unistd.h>

namespace vello {
namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20; // bytes

void requireSuccess(bool isDone) {
    if (!isDone)
        throw std::system_error(errno, std::generic_category());
}

void copyAll(int from, int to) {
    for (;;) {
        const std::optional<std::string> block = readAll(from, kBlock);
        requireSuccess(block.has_value());
        requireSuccess(writeAll(to, *block));
        if (block->size() < kBlock)
            return;
    }
}

void rewind(int descriptor) {
    requireSuccess(::lseek(descriptor, 0, SEEK_SET) == 0);
}

} // namespace

Descriptor namelessFile() {
    std::string name = std::filesystem::temp_directory_path() / "vello-XXXXXX";
    Descriptor file(::mkostemp(name.data(), O_CLOEXEC));
    requireSuccess(file.isOpen());
    requireSuccess(::unlink(name.c_str()) == 0);
    return file;
}

Descriptor spoolStandardInput() {
    Descriptor file = namelessFile();
    copyAll(STDIN_FILENO, file.number());
    rewind(file.number());
    return file;
}

void copyToStandardOutput(int descriptor) {
    rewind(descriptor);
    copyAll(descriptor, STDOUT_FILENO);
}

} // namespace vello
