// SPDX-License-Identifier: Apache-2.0
#include "Persistence/SettingsLock.h"

#include "Foundation/Files.h"
#include "Foundation/Text.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vello {
namespace {

constexpr std::size_t kLongestSignature = 200; ///< bytes

std::string hostName() {
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "an unknown host";
}

/// Locks the whole file. An open file description owns the lock, not the process: one process may have two
/// stores, and to close another descriptor of the file does not end the lock, as it would an older one.
bool lockWholeFile(int descriptor) {
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    return ::fcntl(descriptor, F_OFD_SETLK, &whole) == 0;
}

} // namespace

SettingsLock::State SettingsLock::acquire() {
    if (isHeld() && isStillInPlace())
        return State::held;
    lock_ = Descriptor();
    Descriptor lock(
        ::open(file_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600));
    if (!lock.isOpen())
        return State::unavailable;
    if (!lockWholeFile(lock.number()))
        return errno == EAGAIN || errno == EACCES ? State::heldElsewhere : State::unavailable;
    lock_ = std::move(lock);
    sign();
    return State::held;
}

bool SettingsLock::isStillInPlace() const {
    struct stat locked = {};
    struct stat named = {};
    return ::fstat(lock_.number(), &locked) == 0 && ::lstat(file_.c_str(), &named) == 0 &&
           locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
}

/// Tells others who holds the lock. It also holds without the signature, so a full disk does not matter.
void SettingsLock::sign() const {
    const std::string signature = "process " + std::to_string(::getpid()) + " on " + hostName();
    if (::ftruncate(lock_.number(), 0) == 0)
        (void)writeAll(lock_.number(), signature);
}

std::string SettingsLock::holder() const {
    return terminalText(readFile(file_, kLongestSignature, Links::refuse).value_or(""));
}

} // namespace vello
