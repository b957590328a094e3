// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileExchange.h"
#include "Machine.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vello::presetmodel {

/// An edit of one preset.
struct Edit {
    std::string name;
    std::optional<double> gain; ///< of all bands; absent: deleted
    Edits known = 0;
    bool isAcknowledged = false;
};

/// Everything that happens to two to four machines, by chance.
class Schedule {
public:
    struct Options {
        Transport transport = Transport::mount;
        bool hasOtherProgram = false; ///< one that knows nothing of journals writes lists as well
        bool beginsOld = false;       ///< every machine has presets from the time before the journals
        bool hasFailures = false;     ///< folders are away for a while
        bool hasCopiedHomes = false;  ///< homes are copied, used by two machines and restored from a backup
    };

    Schedule(unsigned seed, const Options& options);
    void run();
    /// Empty when all is well.
    std::string verdict() const;
    std::string story() const;

private:
    Machine& anyMachine();
    std::string anyName();
    double anyGain();
    std::string nameOf(const Machine& machine) const;
    void addMachine(Folder& folder, std::shared_ptr<Home> home);

    void beginOld();
    void act();
    void edit(Machine& machine);
    void save(Machine& machine, const std::string& name);
    void make(Machine& machine, const std::string& what, std::vector<Edit> parts,
              const std::function<void(UserPresetList&)>& action);
    void killIn(Machine& machine);
    void restart(Machine& machine);
    void moveHome(Machine& machine);
    void copyHome(Machine& machine);
    void restore(Machine& machine);
    void otherProgramSaves(std::size_t place);
    void comeToRest();

    bool isRight(const std::string& name) const;

    const Options options_;
    World world_;
    std::vector<Folder> folders_; ///< has room for all, so that they stay where they are
    FileExchange exchange_;
    std::vector<std::unique_ptr<Machine>> machines_;
    std::optional<std::pair<std::shared_ptr<Home>, LocalFiles>> backup_;
    std::vector<Edit> edits_;
    double nextGain_ = 100;
};

} // namespace vello::presetmodel
