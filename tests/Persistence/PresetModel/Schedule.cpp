// SPDX-License-Identifier: Apache-2.0
#include "Schedule.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vello::presetmodel {
namespace {

std::string listText(const Presets& presets) {
    std::string text;
    for (const UserEQPreset& preset : presets) {
        std::string gains;
        for (const double gain : preset.bandGains)
            gains += (gains.empty() ? "" : ",") + std::to_string(static_cast<int>(gain));
        text += (text.empty() ? "[" : ",") + std::string(R"({"name":")") + preset.name +
                R"(","bandGains":[)" + gains + "]}";
    }
    return text.empty() ? "[]" : text + "]";
}

} // namespace

Schedule::Schedule(unsigned seed, const Options& options)
    : options_(options), world_(seed), exchange_(world_, folders_, options.transport) {
    const std::size_t count = 2 + static_cast<std::size_t>(world_.below(3));
    folders_.reserve(kMostMachines);
    folders_.resize(options.transport == Transport::mount ? 1 : count);
    for (std::size_t i = 0; i < count; ++i)
        addMachine(folders_[i % folders_.size()], std::make_shared<Home>());
    if (options.beginsOld)
        beginOld();
}

void Schedule::run() {
    const int actions = 8 + world_.below(20);
    for (int i = 0; i < actions; ++i)
        act();
    // What only one machine has is shared with its next save.
    const bool mayDiffer = options_.beginsOld || options_.hasOtherProgram;
    for (std::size_t i = 0; mayDiffer && i < machines_.size(); ++i)
        save(*machines_[i], "Last" + std::to_string(i));
    comeToRest();
}

Machine& Schedule::anyMachine() {
    return *machines_[static_cast<std::size_t>(world_.below(static_cast<int>(machines_.size())))];
}

std::string Schedule::anyName() {
    return std::string(1, static_cast<char>('A' + world_.below(4)));
}

double Schedule::anyGain() {
    return options_.transport == Transport::cloud ? ++nextGain_ : 1 + world_.below(3);
}

std::string Schedule::nameOf(const Machine& machine) const {
    for (std::size_t i = 0; i < machines_.size(); ++i)
        if (machines_[i].get() == &machine)
            return "M" + std::to_string(i + 1);
    return "?";
}

void Schedule::addMachine(Folder& folder, std::shared_ptr<Home> home) {
    machines_.push_back(std::make_unique<Machine>(world_, folder, std::move(home), machines_.size()));
}

void Schedule::beginOld() {
    Presets presets;
    for (const char* name : {"A", "B", "C"}) {
        edits_.push_back({name, 9, 0, true});
        presets.push_back({name, std::vector<double>(8, 9)});
    }
    for (auto& machine : machines_) {
        machine->home()->settings = presets;
        machine->initialKnowledge = 7;
        machine->restart();
    }
    world_.learnOfList(PresetLedger::hash(listText(presets)), 7);
    const bool isShared = world_.chance(50);
    for (Folder& folder : folders_)
        if (isShared)
            folder["userEQPresets"] = {listText(presets), 7, {1}, 0, false};
}

void Schedule::act() {
    const int choice = world_.below(100);
    Machine& machine = anyMachine();
    if (choice < 30)
        edit(machine);
    else if (choice < 36)
        killIn(machine);
    else if (choice < 40)
        restart(machine);
    else if (choice < 44)
        machine.settle();
    else if (choice < 60)
        machine.notice();
    else if (choice < 64 && options_.hasOtherProgram)
        otherProgramSaves(static_cast<std::size_t>(world_.below(static_cast<int>(folders_.size()))));
    else if (choice < 68 && options_.hasFailures)
        machine.store().failsWrites = !machine.store().failsWrites;
    else if (choice < 68 && options_.hasCopiedHomes)
        moveHome(machine);
    else
        exchange_.transferSome();
}

void Schedule::edit(Machine& machine) {
    const std::string name = anyName();
    const std::string other = anyName();
    const int choice = world_.below(10);
    if (!machine.gainOf(name) || choice < 6)
        save(machine, name);
    else if (choice < 8 || other == name)
        make(machine, "deletes " + name, {{name, std::nullopt}},
             [&](UserPresetList& list) { list.remove(name); });
    else
        make(machine, "renames " + name + " to " + other,
             {{name, std::nullopt}, {other, machine.gainOf(name)}},
             [&](UserPresetList& list) { list.rename(name, other); });
}

void Schedule::save(Machine& machine, const std::string& name) {
    const double gain = anyGain();
    make(machine, "saves " + name + "=" + std::to_string(static_cast<int>(gain)), {{name, gain}},
         [&](UserPresetList& list) { list.save(name, std::vector<double>(8, gain)); });
}

void Schedule::make(Machine& machine, const std::string& what, std::vector<Edit> parts,
                    const std::function<void(UserPresetList&)>& action) {
    if (edits_.size() + parts.size() > kMostEdits)
        return;
    world_.story << nameOf(machine) << " " << what << "\n";
    // The edit knows of what was read in its own save, so it is found out afterwards.
    Edits own = 0;
    const std::size_t first = edits_.size();
    for (Edit& part : parts) {
        own |= Edits{1} << edits_.size();
        edits_.push_back(std::move(part));
    }
    machine.store().knowledge |= own;
    bool isDone = true;
    try {
        action(machine.list());
    } catch (const Killed&) {
        isDone = false;
    }
    for (std::size_t i = first; i < edits_.size(); ++i) {
        edits_[i].known = machine.store().knowledge & ~own;
        edits_[i].isAcknowledged = isDone;
    }
}

void Schedule::killIn(Machine& machine) {
    machine.store().stepsToDeath = world_.below(6);
    world_.story << "(killed) ";
    edit(machine);
    machine.restart();
}
void Schedule::restart(Machine& machine) {
    world_.story << nameOf(machine) << " restarts\n";
    machine.settle();
    machine.restart();
}

void Schedule::moveHome(Machine& machine) {
    if (!backup_)
        backup_ = {machine.home(), machine.home()->files};
    else if (world_.chance(30))
        restore(machine);
    else if (machines_.size() < kMostMachines)
        copyHome(machine);
}

/// Another machine begins with what this one has, or uses the very same home.
void Schedule::copyHome(Machine& machine) {
    const bool isShared = world_.chance(30);
    world_.story << nameOf(machine) << (isShared ? " shares its home\n" : "'s home is copied\n");
    if (isShared)
        return addMachine(machine.folder(), machine.home());
    auto home = std::make_shared<Home>(*machine.home());
    for (auto& [name, file] : home->files)
        file.isCopied = true;
    if (options_.transport == Transport::mount)
        return addMachine(folders_.front(), std::move(home));
    folders_.push_back(world_.chance(50) ? machine.folder() : Folder());
    addMachine(folders_.back(), std::move(home));
}

void Schedule::restore(Machine& machine) {
    if (backup_->first != machine.home())
        return;
    world_.story << nameOf(machine) << "'s home is restored\n";
    machine.home()->files = backup_->second;
    for (auto& [name, file] : machine.home()->files)
        file.isCopied = true;
    machine.restart();
}

/// Puts a preset of its own at the end of what it finds.
void Schedule::otherProgramSaves(std::size_t place) {
    Folder& folder = folders_[place];
    std::string text = folder["userEQPresets"].content;
    const std::string preset = listText({{anyName(), std::vector<double>(8, anyGain())}});
    text = text.size() < 3 ? preset : text.substr(0, text.size() - 1) + "," + preset.substr(1);
    File& file = folder["userEQPresets"];
    file.content = text;
    file.isDeleted = false;
    file.time = ++world_.time;
    ++file.version.at(place);
    world_.story << "the other program writes " << text << "\n";
}

void Schedule::comeToRest() {
    for (int round = 0; round < 50; ++round) {
        const bool isChanged = exchange_.transferAll();
        const int time = world_.time;
        bool isEdited = false;
        for (auto& machine : machines_) {
            machine->store().failsWrites = false;
            const Presets before = machine->presets();
            machine->thread().advance(std::chrono::minutes(2)); // of the longest retry
            machine->notice();
            isEdited = isEdited || machine->presets() != before;
        }
        if (!isChanged && !isEdited && world_.time == time)
            return;
    }
    ADD_FAILURE() << "it does not come to rest\n" << story();
}

} // namespace vello::presetmodel
