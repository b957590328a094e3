// SPDX-License-Identifier: Apache-2.0
// Two to four machines edit their presets, are killed, and exchange files in any order and in every way in
// which programs do that.
#include "Persistence/UserPresetList.h"

#include "support/RecordingSystemLog.h"
#include "support/VirtualMainThread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <sstream>

namespace vello {
namespace {

using Presets = UserPresetList::Presets;
/// A set of edits, one bit each.
using Edits = std::uint64_t;
constexpr int kMostEdits = 64;

/// How files travel between the machines.
enum class Transport {
    mount,      ///< all machines write into one folder
    syncthing,  ///< conflict copies "name.sync-conflict-DATE-MACHINE"
    unison,     ///< conflict copies "name (copy: conflict on DATE)"
    cloud,      ///< conflict copies "name (conflicted copy DATE)"
    overwriting ///< of two conflicting versions one is lost
};

struct File {
    std::string content;
    Edits knowledge = 0;             ///< of whoever wrote it
    std::array<int, 4> version = {}; ///< writes by machine
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

/// Thrown in the middle of a write. Not a std::exception, so that nobody handles it.
struct Killed {};

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

/// The store of one machine on the model of a folder.
class ModelStore final : public KeyValueStore {
public:
    ModelStore(World& world, Folder& folder, std::map<std::string, File>& local, std::size_t machine)
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
    std::optional<std::string> localData(std::string_view key) override {
        const auto found = local_.find(std::string(key));
        if (found == local_.end())
            return std::nullopt;
        knowledge |= found->second.knowledge;
        return found->second.content;
    }
    std::optional<std::string> setLocalData(std::string_view key, std::string_view data) override {
        step();
        const PresetJournal journal = decodeJournal(data);
        for (const auto& [hash, origin] : journal.ledger.written())
            if (written_.insert(hash).second)
                world_.learnOfList(hash, knowledge);
        local_[std::string(key)] = {std::string(data), knowledge, {}, 0, false};
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
    std::map<std::string, File>& local_;
    const std::size_t machine_;
    std::set<std::string> written_; ///< hashes of lists
    Action action_;
};

/// An edit of one preset.
struct Edit {
    std::string name;
    std::optional<double> gain; ///< of all bands; absent: deleted
    Edits known = 0;
    bool isAcknowledged = false;
};

class Machine {
public:
    Machine(World& world, Folder& folder, std::size_t number)
        : world_(world), folder_(folder), number_(number) {
        start();
    }

    void start() {
        process_ = std::make_unique<Process>(world_, folder_, local_, number_);
        process_->store.knowledge |= initialKnowledge;
        process_->list.load(settings_);
        process_->list.startObserving();
    }
    void settle() { settings_ = presets(); }
    void restart() {
        process_.reset();
        start();
    }
    void notice() {
        world_.story << "M" << number_ + 1 << " looks\n";
        process_->thread.runPosted();
        process_->store.notify();
        process_->thread.runPosted();
    }
    const Presets& presets() const { return process_->list.presets().value(); }
    UserPresetList& list() { return process_->list; }
    ModelStore& store() { return process_->store; }
    VirtualMainThread& thread() { return process_->thread; }
    void setSettings(Presets settings) { settings_ = std::move(settings); }

    /// For the report of a failure.
    std::string ownJournal() const {
        const auto journal = local_.find("userEQPresetsJournal");
        return journal == local_.end() ? "" : journal->second.content;
    }

    Edits initialKnowledge = 0;

private:
    struct Process {
        Process(World& world, Folder& folder, std::map<std::string, File>& local, std::size_t number)
            : store(world, folder, local, number),
              cloud(store, thread, log, [&world] { return std::to_string(world.random()); }) {}
        ModelStore store;
        VirtualMainThread thread;
        RecordingSystemLog log;
        PresetCloudStore cloud;
        UserPresetList list{cloud, [] {}};
    };

    World& world_;
    Folder& folder_;
    const std::size_t number_;
    std::map<std::string, File> local_;
    Presets settings_; ///< what the settings file holds
    std::unique_ptr<Process> process_;
};

class Schedule {
public:
    struct Options {
        Transport transport = Transport::mount;
        bool hasOtherProgram = false; ///< one that knows nothing of journals writes lists as well
        bool beginsOld = false;       ///< every machine has presets from the time before the journals
        bool hasFailures = false;     ///< folders are away for a while
    };

    Schedule(unsigned seed, const Options& options) : options_(options), world_(seed) {
        const std::size_t count = 2 + static_cast<std::size_t>(world_.below(3));
        folders_.resize(options.transport == Transport::mount ? 1 : count);
        for (std::size_t i = 0; i < count; ++i)
            machines_.push_back(std::make_unique<Machine>(world_, folders_[i % folders_.size()], i));
        if (options.beginsOld)
            beginOld();
    }

    void run() {
        const int actions = 8 + world_.below(20);
        for (int i = 0; i < actions; ++i)
            act();
        // What only one machine has is shared with its next save.
        const bool mayDiffer = options_.beginsOld || options_.hasOtherProgram;
        for (std::size_t i = 0; mayDiffer && i < machines_.size(); ++i)
            save(*machines_[i], "Last" + std::to_string(i));
        comeToRest();
    }

    /// Empty when all is well.
    std::string verdict() const {
        for (const auto& machine : machines_)
            if (machine->presets() != machines_.front()->presets())
                return "the lists differ:\n" + describe(*machines_.front()) + describe(*machine);
        std::set<std::string> names;
        for (const Edit& edit : edits_)
            names.insert(edit.name);
        for (const std::string& name : names)
            if (!options_.hasOtherProgram && !isRight(name))
                return "an edit of " + name + " is lost:\n" + describe(*machines_.front());
        return {};
    }
    std::string story() const {
        std::ostringstream text;
        for (const Edit& edit : edits_)
            text << edit.name << "=" << edit.gain.value_or(0) << " after "
                 << std::bitset<kMostEdits>(edit.known) << (edit.isAcknowledged ? "" : " (killed)") << "\n";
        for (const auto& machine : machines_)
            text << machine->ownJournal() << "\n";
        return world_.story.str() + text.str();
    }

private:
    Machine& anyMachine() {
        return *machines_[static_cast<std::size_t>(world_.below(static_cast<int>(machines_.size())))];
    }
    Folder& anyFolder() {
        return folders_[static_cast<std::size_t>(world_.below(static_cast<int>(folders_.size())))];
    }
    std::string anyName() { return std::string(1, static_cast<char>('A' + world_.below(4))); }
    double anyGain() { return options_.transport == Transport::cloud ? ++nextGain_ : 1 + world_.below(3); }
    std::string nameOf(const Machine& machine) const {
        for (std::size_t i = 0; i < machines_.size(); ++i)
            if (machines_[i].get() == &machine)
                return "M" + std::to_string(i + 1);
        return "?";
    }

    void beginOld() {
        Presets presets;
        for (const char* name : {"A", "B", "C"}) {
            edits_.push_back({name, 9, 0, true});
            presets.push_back({name, std::vector<double>(8, 9)});
        }
        for (auto& machine : machines_) {
            machine->setSettings(presets);
            machine->initialKnowledge = 7;
            machine->restart();
        }
        world_.learnOfList(PresetLedger::hash(listText(presets)), 7);
        const bool isShared = world_.chance(50);
        for (Folder& folder : folders_)
            if (isShared)
                folder["userEQPresets"] = {listText(presets), 7, {1}, 0, false};
    }

    void act() {
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
        else
            transferSome();
    }

    static bool has(const Machine& machine, const std::string& name) {
        return std::ranges::find(machine.presets(), name, &UserEQPreset::name) != machine.presets().end();
    }
    static double gainIn(const Machine& machine, const std::string& name) {
        return std::ranges::find(machine.presets(), name, &UserEQPreset::name)->bandGains.front();
    }

    void edit(Machine& machine) {
        const std::string name = anyName();
        const std::string other = anyName();
        const int choice = world_.below(10);
        if (!has(machine, name) || choice < 6)
            save(machine, name);
        else if (choice < 8 || other == name)
            make(machine, "deletes " + name, {{name, std::nullopt}},
                 [&](UserPresetList& list) { list.remove(name); });
        else
            make(machine, "renames " + name + " to " + other,
                 {{name, std::nullopt}, {other, gainIn(machine, name)}},
                 [&](UserPresetList& list) { list.rename(name, other); });
    }
    void save(Machine& machine, const std::string& name) {
        const double gain = anyGain();
        make(machine, "saves " + name + "=" + std::to_string(static_cast<int>(gain)), {{name, gain}},
             [&](UserPresetList& list) { list.save(name, std::vector<double>(8, gain)); });
    }

    void make(Machine& machine, const std::string& what, std::vector<Edit> parts,
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

    void killIn(Machine& machine) {
        machine.store().stepsToDeath = world_.below(6);
        world_.story << "(killed) ";
        edit(machine);
        machine.restart();
    }
    void restart(Machine& machine) {
        world_.story << nameOf(machine) << " restarts\n";
        machine.settle();
        machine.restart();
    }

    static std::string listText(const Presets& presets) {
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

    /// Puts a preset of its own at the end of what it finds.
    void otherProgramSaves(std::size_t place) {
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

    void transferSome() {
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

    bool transfer(Folder& from, Folder& to, const std::string& name) {
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

    /// What was deleted on one side survives; else the later one does, and the other becomes a copy.
    void resolve(Folder& to, const std::string& name, const File& file) {
        File& old = to[name];
        const bool isNewBetter = file.isDeleted != old.isDeleted
                                     ? old.isDeleted
                                     : std::pair(file.time, file.content) > std::pair(old.time, old.content);
        const File better = isNewBetter ? file : old;
        const File worse = isNewBetter ? old : file;
        old = better;
        for (std::size_t i = 0; i < old.version.size(); ++i)
            old.version[i] = std::max(better.version[i], worse.version[i]);
        if (!worse.isDeleted && worse.content != better.content &&
            options_.transport != Transport::overwriting) {
            File& copy = to[conflictName(name)];
            copy = worse;
        }
    }
    std::string conflictName(const std::string& name) {
        const std::string number = std::to_string(++world_.time);
        switch (options_.transport) {
        case Transport::syncthing:
            return name + ".sync-conflict-20260102-" + number + "-ABCDEFG";
        case Transport::unison:
            return name + " (copy: conflict on 2026-01-02 #" + number + ")";
        default:
            return name + " (conflicted copy 2026-01-02 " + number + ")";
        }
    }

    bool transferAll() {
        bool isChanged = false;
        for (Folder& from : folders_)
            for (Folder& to : folders_) {
                const Folder files = from;
                for (const auto& [name, file] : files)
                    isChanged = transfer(from, to, name) || isChanged;
            }
        return isChanged;
    }

    void comeToRest() {
        for (int round = 0; round < 50; ++round) {
            const bool isChanged = transferAll();
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

    std::optional<double> gainOf(const std::string& name) const {
        const Machine& machine = *machines_.front();
        return has(machine, name) ? std::optional(gainIn(machine, name)) : std::nullopt;
    }
    /// Whether the preset is what an edit made of it that no later acknowledged edit has replaced.
    bool isRight(const std::string& name) const {
        const auto shown = gainOf(name);
        bool isEdited = false;
        for (std::size_t i = 0; i < edits_.size(); ++i) {
            const auto isLater = [&](const Edit& edit) {
                return edit.isAcknowledged && edit.name == name && (edit.known >> i & 1U) != 0;
            };
            if (edits_[i].name != name)
                continue;
            isEdited = isEdited || edits_[i].isAcknowledged;
            if (edits_[i].gain == shown && std::ranges::none_of(edits_, isLater))
                return true;
        }
        return !isEdited && !shown;
    }
    static std::string describe(const Machine& machine) {
        std::ostringstream text;
        for (const UserEQPreset& preset : machine.presets())
            text << preset.name << "=" << preset.bandGains.front() << " ";
        text << "\n";
        return text.str();
    }

    const Options options_;
    World world_;
    std::vector<Folder> folders_;
    std::vector<std::unique_ptr<Machine>> machines_;
    std::vector<Edit> edits_;
    double nextGain_ = 100;
};

int schedules() {
    const char* const wanted = std::getenv("VELLO_SCHEDULES");
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return wanted != nullptr ? std::atoi(wanted) : 1000;
#else
    return wanted != nullptr ? std::atoi(wanted) : 10000;
#endif
}

void runSchedules(unsigned firstSeed, int count, const Schedule::Options& options) {
    for (int i = 0; i < count; ++i) {
        Schedule schedule(firstSeed + static_cast<unsigned>(i), options);
        schedule.run();
        ASSERT_EQ(schedule.verdict(), "") << "seed " << firstSeed + static_cast<unsigned>(i) << "\n"
                                          << schedule.story();
    }
}

class PresetModel : public testing::TestWithParam<Transport> {};

TEST_P(PresetModel, MachinesAgreeAndLoseNoEdit) {
    runSchedules(1, schedules() / 10, {.transport = GetParam()});
}

TEST_P(PresetModel, MachinesAgreeAndLoseNoEditWhileFoldersAreAway) {
    runSchedules(100000, schedules() / 30, {.transport = GetParam(), .hasFailures = true});
}

TEST_P(PresetModel, MachinesWithPresetsFromBeforeTheJournalsAgreeAndLoseNoEdit) {
    runSchedules(200000, schedules() / 30, {.transport = GetParam(), .beginsOld = true});
}

TEST_P(PresetModel, MachinesAgreeWithAnotherProgramThatKnowsNothingOfJournals) {
    runSchedules(300000, schedules() / 30, {.transport = GetParam(), .hasOtherProgram = true});
}

INSTANTIATE_TEST_SUITE_P(Transports, PresetModel,
                         testing::Values(Transport::mount, Transport::syncthing, Transport::unison,
                                         Transport::cloud, Transport::overwriting));

} // namespace
} // namespace vello
