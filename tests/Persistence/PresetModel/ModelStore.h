// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Persistence/PresetJournal.h"
#include "Ports/KeyValueStore.h"

#include "World.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <utility>

namespace vello::presetmodel {

/// The store of one machine on the model of a folder.
class ModelStore final : public KeyValueStore {
public:
    ModelStore(World& world, Folder& folder, LocalFiles& local, std::size_t machine)
        : world_(world), folder_(folder), local_(local), machine_(machine) {}

    std::vector<std::string> keys(std::string_view prefix) override {
        std::set<std::string> found;
        for (const auto& [name, file] : folder_)
            if (!file.isDeleted && name.starts_with(prefix))
                found.insert(name.substr(0, name.find_first_of(". ")));
        return {found.begin(), found.end()};
    }
    std::vector<Version> versions(std::string_view key) override {
        std::vector<Version> found;
        for (const auto& [name, file] : folder_)
            if (isOf(key, name) && !file.isDeleted && name != key)
                found.push_back(read(key, file, true));
        if (const auto file = folder_.find(std::string(key));
            file != folder_.end() && !file->second.isDeleted)
            found.push_back(read(key, file->second, false));
        return found;
    }
    std::optional<std::string> setData(std::string_view key, std::string_view data,
                                       std::span<const Version> merged) override {
        if (failsWrites)
            return "the folder is away";
        const std::string name(key);
        const auto isMerged = [&](const File& file) {
            return file.content == data ||
                   std::ranges::find(merged, file.content, &Version::data) != merged.end();
        };
        if (const auto old = folder_.find(name);
            old != folder_.end() && !old->second.isDeleted && !isMerged(old->second))
            write(name + ".vello-" + std::to_string(++world_.time), old->second.content,
                  old->second.knowledge);
        write(name, std::string(data), knowledge);
        for (auto& [copy, file] : folder_)
            if (isOf(key, copy) && copy != key && !file.isDeleted && isMerged(file)) {
                step();
                file.isDeleted = true;
                stamp(file);
            }
        return std::nullopt;
    }
    std::optional<LocalData> localData(std::string_view key) override {
        const auto found = local_.find(std::string(key));
        if (found == local_.end())
            return std::nullopt;
        knowledge |= found->second.knowledge;
        return LocalData{found->second.content, found->second.isCopied};
    }
    std::optional<std::string> setLocalData(std::string_view key, std::string_view data) override {
        step();
        const PresetJournal journal = decodeJournal(data);
        for (const auto& [hash, origin] : journal.ledger.written())
            if (written_.insert(hash).second)
                world_.learnOfList(hash, knowledge);
        LocalFile& file = local_[std::string(key)] = {std::string(data), knowledge, true};
        step();
        file.isCopied = false;
        return std::nullopt;
    }
    void synchronize() override {}
    void onDidChangeExternally(Action action) override { action_ = std::move(action); }

    void notify() const {
        if (action_)
            action_();
    }

    Edits knowledge = 0;   ///< what this machine knows of
    int stepsToDeath = -1; ///< never when negative
    bool failsWrites = false;

private:
    static bool isOf(std::string_view key, std::string_view name) {
        return name.starts_with(key) &&
               (name.size() == key.size() || name[key.size()] == '.' || name[key.size()] == ' ');
    }
    static bool isList(std::string_view key) { return key == "userEQPresets"; }
    Version read(std::string_view key, const File& file, bool isCopy) {
        knowledge |= isList(key) ? world_.knowledgeInList[PresetLedger::hash(file.content)] : file.knowledge;
        return {file.content, isCopy};
    }
    void step() {
        if (stepsToDeath >= 0 && stepsToDeath-- == 0)
            throw Killed();
    }
    void stamp(File& file) {
        ++file.version.at(machine_);
        file.time = ++world_.time;
    }
    void write(const std::string& name, const std::string& content, Edits known) {
        step();
        File& file = folder_[name];
        file.content = content;
        file.knowledge = known;
        file.isDeleted = false;
        stamp(file);
    }

    World& world_;
    Folder& folder_;
    LocalFiles& local_;
    const std::size_t machine_;
    std::set<std::string> written_; ///< hashes of lists
    Action action_;
};

} // namespace vello::presetmodel
