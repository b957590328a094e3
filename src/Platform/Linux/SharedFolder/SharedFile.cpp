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
constexpr int kMostLinks = 40;
/// Suffix of copies made by this program, followed by a number.
constexpr std::string_view kOwnCopy = ".vello-";

bool isPartOfNames(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '%';
}

char lowerCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

/// The file that a link stands for, which need not exist yet.
fs::path linkTarget(fs::path file) {
    for (int links = 0; links < kMostLinks && fs::is_symlink(fs::symlink_status(file)); ++links)
        file = file.parent_path() / fs::read_symlink(file);
    return file;
}

/// Puts `fresh` into the place of `file`. If the file system supports it, the previous file then has the name
/// of `fresh`; else it is gone, and so is that name.
void putInPlace(const fs::path& fresh, const fs::path& file) {
    if (::renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, file.c_str(), RENAME_EXCHANGE) == 0 ||
        ::rename(fresh.c_str(), file.c_str()) == 0)
        return;
    const int error = errno;
    ::unlink(fresh.c_str());
    throw std::system_error(error, std::generic_category(), "cannot replace " + file.string());
}

/// Readers do not look at it.
std::string hiddenName(const std::string& name) {
    char number[20];
    std::random_device random;
    std::snprintf(number, sizeof number, "%08x%08x", random(), random());
    return std::string(1, '.').append(name).append(kOwnCopy).append(number);
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

std::optional<std::string> SharedFile::sharedName(const std::string& fileName) {
    const auto end = std::ranges::find_if_not(fileName, isPartOfNames);
    std::string rest(end, fileName.end());
    std::ranges::transform(rest, rest.begin(), lowerCase);
    const bool isCopy = rest.starts_with(kOwnCopy) || rest.find("conflict") != rest.npos;
    if (end == fileName.begin() || !(rest.empty() || isCopy))
        return std::nullopt;
    return std::string(fileName.begin(), end);
}

std::vector<SharedFile::Copy> SharedFile::copies() const {
    std::vector<std::pair<fs::file_time_type, fs::path>> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end; entry.increment(error))
        if (const auto name = entry->path().filename().string(); name != name_ && sharedName(name) == name_)
            files.emplace_back(age(entry->path()), entry->path());
    std::ranges::sort(files);
    std::vector<Copy> copies;
    for (const auto& [time, file] : files)
        if (auto content = readFile(file, mostBytes))
            copies.push_back({file, std::move(*content)});
    return copies;
}

/// The new content gets a visible name in one step, so that no reader takes it for a copy.
void SharedFile::replace(std::string_view content, const IsMerged& isMerged) {
    const auto isNeeded = [&](const std::optional<std::string>& old) {
        return old && *old != content && !isMerged(*old);
    };
    const auto previous = read();
    if (isNeeded(previous))
        keepPrevious(folder_ / name_, *previous);
    const fs::path file = linkTarget(folder_ / name_);
    const fs::path fresh = file.parent_path() / hiddenName(file.filename().string());
    ReplacingFile writing(fresh, ReplacingFile::Permissions::usual);
    writing.write(content);
    writing.commit();
    if (std::error_code ignored; fs::exists(file, ignored))
        fs::permissions(fresh, fs::status(file).permissions(), ignored);
    putInPlace(fresh, file);
    const auto replaced = readFile(fresh, mostBytes);
    if (isNeeded(replaced) && replaced != previous)
        keepPrevious(fresh, *replaced);
    ::unlink(fresh.c_str());
    syncFolder(file.parent_path());
}

/// The copy is the same file under another name where that is possible: somebody may still be writing it.
void SharedFile::keepPrevious(const fs::path& previous, const std::string& content) const {
    for (const Copy& copy : copies())
        if (copy.content == content)
            return;
    for (int number = 1;; ++number) {
        const fs::path copy = folder_ / std::string(name_).append(kOwnCopy).append(std::to_string(number));
        if (::linkat(AT_FDCWD, previous.c_str(), AT_FDCWD, copy.c_str(), AT_SYMLINK_FOLLOW) == 0)
            return;
        if (errno == EEXIST)
            continue;
        ReplacingFile writing(copy, ReplacingFile::Permissions::usual);
        writing.write(content);
        return writing.commit();
    }
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

SharedFolderLock::SharedFolderLock(const fs::path& folder)
    : folder_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const auto deadline = std::chrono::steady_clock::now() + kLongestWaitForLock;
    while (folder_.isOpen() && ::flock(folder_.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(kPauseBetweenTries);
}

} // namespace vello
