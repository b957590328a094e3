// SPDX-License-Identifier: Apache-2.0
#include "Foundation/AtomicFile.h"

#include "FailedCall.h"
#include "Foundation/ReplacingFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vello {
namespace {

namespace fs = std::filesystem;
constexpr mode_t kUserOnlyFolder = 0700;

/// Owner of a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int number) noexcept : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0)
            ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const noexcept { return number_; }
    bool isOpen() const noexcept { return number_ >= 0; }

private:
    int number_;
};

/// False when the file cannot be read any further.
bool readInto(std::string& content, int descriptor, std::size_t atMost) {
    char chunk[1 << 16];
    while (content.size() < atMost) {
        const ssize_t count = ::read(descriptor, chunk, std::min(sizeof chunk, atMost - content.size()));
        if (count == 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
        if (count > 0)
            content.append(chunk, static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace

std::optional<std::string> readFile(const fs::path& file, std::size_t atMost) {
    const Descriptor descriptor(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status = {};
    if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    std::string content;
    return readInto(content, descriptor.number(), atMost) ? std::optional(std::move(content)) : std::nullopt;
}

void createPrivateFolder(const fs::path& folder) {
    if (folder.empty() || fs::is_directory(folder))
        return;
    createPrivateFolder(folder.parent_path());
    if (::mkdir(folder.c_str(), kUserOnlyFolder) != 0 && !(errno == EEXIST && fs::is_directory(folder)))
        fail("cannot create the folder " + folder.string());
}

void writeFileAtomically(const fs::path& file, std::string_view content) {
    ReplacingFile replacing(file, ReplacingFile::Permissions::userAlone);
    while (!content.empty()) {
        const ssize_t written = ::write(replacing.descriptor(), content.data(), content.size());
        if (written >= 0)
            content.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            fail("cannot write " + file.string());
    }
    replacing.commit();
}

bool moveWithoutReplacing(const fs::path& from, const fs::path& to) noexcept {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    // File systems that do not know the flag say EINVAL; a hard link never replaces anything either.
    return errno == EINVAL && ::link(from.c_str(), to.c_str()) == 0 && ::unlink(from.c_str()) == 0;
}

} // namespace vello
