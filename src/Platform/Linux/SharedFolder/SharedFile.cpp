// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/SharedFolder/SharedFile.h"

#include "Foundation/Files.h"
#include "Foundation/ReplacingFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <sys/file.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace vello {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr milliseconds kLongestWaitForLock{500};
constexpr milliseconds kPauseBetweenTries{2};
constexpr int kMostAttempts = 100;
/// Suffix of copies made by this program, followed by a number.
constexpr std::string_view kOwnCopy = ".vello-";

bool isPartOfNames(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '%';
}

char lowerCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

/// Moves `copy` into the place of `file`. The previous file takes the name of the copy. Returns false on
/// failure.
bool putInPlace(const fs::path& copy, const fs::path& file) {
    if (::renameat2(AT_FDCWD, copy.c_str(), AT_FDCWD, file.c_str(), RENAME_EXCHANGE) == 0 ||
        moveWithoutReplacing(copy, file))
        return true;
    // Some file systems support neither an exchange nor a rename without replacement.
    std::error_code ignored;
    return errno != EEXIST && !fs::exists(file, ignored) && ::rename(copy.c_str(), file.c_str()) == 0;
}

fs::file_time_type age(const fs::path& file) {
    std::error_code ignored;
    return fs::last_write_time(file, ignored);
}

} // namespace

SharedFile::SharedFile(fs::path folder, std::string name)
    : folder_(std::move(folder)), name_(std::move(name)) {}

std::optional<std::string> SharedFile::read() const {
    return readFile(folder_ / name_, mostBytes);
}

bool SharedFile::isCopy(const fs::path& file) const {
    std::string name = file.filename().string();
    if (name.size() <= name_.size() || !name.starts_with(name_) || isPartOfNames(name[name_.size()]))
        return false;
    name.erase(0, name_.size());
    std::ranges::transform(name, name.begin(), lowerCase);
    return name.starts_with(kOwnCopy) || name.find("conflict") != name.npos;
}

std::vector<SharedFile::Copy> SharedFile::copies() const {
    std::vector<std::pair<fs::file_time_type, fs::path>> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end; entry.increment(error))
        if (isCopy(entry->path()))
            files.emplace_back(age(entry->path()), entry->path());
    std::ranges::sort(files);
    std::vector<Copy> copies;
    for (const auto& [time, file] : files)
        if (auto content = readFile(file, mostBytes))
            copies.push_back({file, std::move(*content)});
    return copies;
}

/// The new content is first written as a copy. Whatever happens between the steps, both contents exist under
/// names that every reader recognizes.
void SharedFile::replace(std::string_view content) {
    const fs::path file = folder_ / name_;
    const fs::path copy = freshCopyName();
    ReplacingFile writing(copy, ReplacingFile::Permissions::usual);
    writing.write(content);
    writing.commit();
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        if (putInPlace(copy, file)) {
            syncFolder(folder_);
            return;
        }
        // On a file system without exchange, the previous file is first moved to a unique name.
        ::rename(file.c_str(), freshCopyName().c_str());
    }
    const int error = errno;
    ::unlink(copy.c_str());
    throw std::system_error(error, std::generic_category(), "cannot replace " + file.string());
}

void SharedFile::remove(const Copy& copy) noexcept {
    ::unlink(copy.file.c_str());
}

void SharedFile::removeLeftovers() const noexcept {
    const std::string prefix = std::string(1, '.').append(name_).append(kOwnCopy);
    const auto past = fs::file_time_type::clock::now() - std::chrono::hours(1);
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().string().starts_with(prefix) && age(entry->path()) < past)
            ::unlink(entry->path().c_str());
}

fs::path SharedFile::freshCopyName() const {
    char number[20];
    std::random_device random;
    std::snprintf(number, sizeof number, "%08x%08x", random(), random());
    return folder_ / std::string(name_).append(kOwnCopy).append(number);
}

SharedFolderLock::SharedFolderLock(const fs::path& folder)
    : folder_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const auto deadline = std::chrono::steady_clock::now() + kLongestWaitForLock;
    while (folder_.isOpen() && ::flock(folder_.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(kPauseBetweenTries);
}

} // namespace vello
