// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Persistence/PresetLedger.h"

#include <array>
#include <cstdint>
#include <map>
#include <random>
#include <sstream>
#include <string>

namespace vello::presetmodel {

constexpr std::size_t kMostMachines = 4;

/// A set of edits, one bit each.
using Edits = std::uint64_t;
constexpr int kMostEdits = 64;

struct File {
    std::string content;
    Edits knowledge = 0;                         ///< of whoever wrote it
    std::array<int, kMostMachines> version = {}; ///< writes by machine
    int time = 0;
    bool isDeleted = false;

    bool isAfter(const File& other) const {
        for (std::size_t i = 0; i < version.size(); ++i)
            if (version[i] < other.version[i])
                return false;
        return true;
    }
};
using Folder = std::map<std::string, File>;

/// A file that only its machine has.
struct LocalFile {
    std::string content;
    Edits knowledge = 0;
    bool isCopied = false;
};
using LocalFiles = std::map<std::string, LocalFile>;

/// Thrown in the middle of a write. Not a std::exception, so that nobody handles it.
struct Killed {};

/// What happens to all machines.
struct World {
    explicit World(unsigned seed) : random(seed) {}
    int below(int limit) { return std::uniform_int_distribution(0, limit - 1)(random); }
    bool chance(int percent) { return below(100) < percent; }

    std::mt19937 random;
    int time = 0;
    /// What is certain to be known to whoever has read a list, by its hash: the same text may be written, or
    /// be about to be written, by several.
    std::map<std::string, Edits> knowledgeInList;
    void learnOfList(const std::string& hash, Edits knowledge) {
        if (const auto [entry, isNew] = knowledgeInList.emplace(hash, knowledge); !isNew)
            entry->second &= knowledge;
    }
    std::ostringstream story;
};

} // namespace vello::presetmodel
