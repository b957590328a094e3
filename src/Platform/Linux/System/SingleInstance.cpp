// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/SingleInstance.h"

#include "Foundation/Product.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <system_error>
#include <utility>

namespace vello {

std::optional<SingleInstance> SingleInstance::acquire(const std::filesystem::path& runtimeFolder) {
    const auto file = runtimeFolder / (std::string(kBundleIdentifier) + ".lock");
    Descriptor lock(::open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!lock.isOpen())
        throw std::system_error(errno, std::generic_category(), file.string());
    if (::flock(lock.number(), LOCK_EX | LOCK_NB) == 0)
        return SingleInstance(std::move(lock));
    if (errno != EWOULDBLOCK)
        throw std::system_error(errno, std::generic_category(), file.string());
    return std::nullopt;
}

} // namespace vello
