// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/ConsentFile.h"

#include "Foundation/AtomicFile.h"
#include "Foundation/Descriptor.h"

#include <array>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace vello {
namespace {

constexpr std::string_view kAllowed = "capture allowed\n";
constexpr std::string_view kDenied = "capture denied\n";

bool isUsersAlone(int descriptor) {
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

} // namespace

Consent ConsentFile::read() {
    const Descriptor file(::open(file_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.isOpen() || !isUsersAlone(file.number()))
        return Consent::undecided;
    std::array<char, 64> buffer{};
    const ssize_t size = ::read(file.number(), buffer.data(), buffer.size());
    const std::string_view content(buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    if (content == kAllowed)
        return Consent::allowed;
    return content == kDenied ? Consent::denied : Consent::undecided;
}

void ConsentFile::write(Consent answer) {
    createPrivateFolder(file_.parent_path());
    writeFileAtomically(file_, answer == Consent::allowed ? kAllowed : kDenied);
}

} // namespace vello
