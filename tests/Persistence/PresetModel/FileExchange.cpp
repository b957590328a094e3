// SPDX-License-Identifier: Apache-2.0
#include "FileExchange.h"

#include <algorithm>
#include <utility>

namespace vello::presetmodel {

Folder& FileExchange::anyFolder() {
    return folders_[static_cast<std::size_t>(world_.below(static_cast<int>(folders_.size())))];
}

void FileExchange::transferSome() {
    Folder& from = anyFolder();
    Folder& to = anyFolder();
    std::vector<std::string> names;
    for (const auto& [name, file] : from)
        names.push_back(name);
    std::ranges::shuffle(names, world_.random);
    for (const std::string& name : names)
        if (world_.chance(60))
            transfer(from, to, name);
}

bool FileExchange::transfer(Folder& from, Folder& to, const std::string& name) {
    const auto source = from.find(name);
    if (&from == &to || source == from.end())
        return false;
    const File& file = source->second;
    const auto [target, isNew] = to.emplace(name, file);
    File& old = target->second;
    if (isNew)
        world_.story << "-> M" << &to - folders_.data() + 1 << " " << name << "\n";
    if (isNew || old.isAfter(file))
        return isNew;
    world_.story << "-> M" << &to - folders_.data() + 1 << " " << name << "\n";
    if (!file.isAfter(old))
        resolve(to, name, file);
    else
        old = file;
    return true;
}

/// The later one goes on; what was deleted on one side goes on only where the program prefers it so.
bool FileExchange::isNewBetter(const File& old, const File& file) const {
    if (file.isDeleted != old.isDeleted && transport_ != Transport::unison)
        return old.isDeleted;
    return std::pair(file.time, file.content) > std::pair(old.time, old.content);
}

/// The other one becomes a copy.
void FileExchange::resolve(Folder& to, const std::string& name, const File& file) {
    File& old = to[name];
    const bool isNewBetter = this->isNewBetter(old, file);
    const File better = isNewBetter ? file : old;
    const File worse = isNewBetter ? old : file;
    old = better;
    for (std::size_t i = 0; i < old.version.size(); ++i)
        old.version[i] = std::max(better.version[i], worse.version[i]);
    const bool isLost = better.isDeleted || worse.content != better.content;
    if (!worse.isDeleted && isLost && transport_ != Transport::overwriting)
        to[conflictName(name, better.isDeleted)] = worse;
}

std::string FileExchange::conflictName(const std::string& name, bool wasDeleted) {
    const std::string number = std::to_string(++world_.time);
    switch (transport_) {
    case Transport::syncthing:
        return name + ".sync-conflict-20260102-" + number + "-ABCDEFG";
    case Transport::unison:
        return name + " (conflict #" + number + "_on_2026-01-02" + (wasDeleted ? "_was_deleted)" : ")");
    default:
        return name + " (conflicted copy 2026-01-02 " + number + ")";
    }
}

bool FileExchange::transferAll() {
    bool isChanged = false;
    for (Folder& from : folders_)
        for (Folder& to : folders_) {
            const Folder files = from;
            for (const auto& [name, file] : files)
                isChanged = transfer(from, to, name) || isChanged;
        }
    return isChanged;
}

} // namespace vello::presetmodel
