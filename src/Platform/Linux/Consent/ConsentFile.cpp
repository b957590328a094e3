// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/ConsentFile.h"

#include "Foundation/Descriptor.h"
#include "Foundation/Files.h"

#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace vello {
namespace {

constexpr std::string_view kAllowed = "capture allowed\n";
constexpr std::string_view kDenied = "capture denied\n";
/// Anything longer is neither.
constexpr std::size_t kLongestAnswer = 64;

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
    const auto content = readAll(file.number(), kLongestAnswer);
    if (content == kAllowed)
        return Consent::allowed;
    return content == kDenied ? Consent::denied : Consent::undecided;
}

void ConsentFile::write(Consent answer) {
    createPrivateFolder(file_.parent_path());
    writeFileAtomically(file_, answer == Consent::allowed ? kAllowed : kDenied);
}

} // namespace vello
