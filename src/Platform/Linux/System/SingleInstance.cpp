// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/SingleInstance.h"

#include "Foundation/Product.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vello {

std::optional<SingleInstance> SingleInstance::acquire(const std::filesystem::path& runtimeFolder) {
    const auto file = runtimeFolder / (std::string(kBundleIdentifier) + ".lock");
    const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), file.string());
    SingleInstance instance(descriptor);
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0)
        return instance;
    if (errno != EWOULDBLOCK)
        throw std::system_error(errno, std::generic_category(), file.string());
    return std::nullopt;
}

SingleInstance::SingleInstance(SingleInstance&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

/// The file stays: removing it would let two instances lock two files of one name.
SingleInstance::~SingleInstance() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

} // namespace vello
