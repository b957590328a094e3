// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "World.h"

#include <string>
#include <vector>

namespace vello::presetmodel {

/// How files travel between the machines.
enum class Transport {
    mount,     ///< all machines write into one folder
    syncthing, ///< conflict copies "name.sync-conflict-DATE-MACHINE"
    unison,    ///< conflict copies "name (conflict_on_DATE)", also of what was changed here and deleted there
    cloud,     ///< conflict copies "name (conflicted copy DATE)"
    overwriting ///< of two conflicting versions one is lost
};

/// Carries files from folder to folder, as a synchronizing program does.
class FileExchange {
public:
    FileExchange(World& world, std::vector<Folder>& folders, Transport transport)
        : world_(world), folders_(folders), transport_(transport) {}

    /// Some files of one folder, in any order, to another one.
    void transferSome();
    /// Everything everywhere. Returns whether something has changed.
    bool transferAll();

private:
    Folder& anyFolder();
    bool transfer(Folder& from, Folder& to, const std::string& name);
    void resolve(Folder& to, const std::string& name, const File& file);
    bool isNewBetter(const File& old, const File& file) const;
    std::string conflictName(const std::string& name, bool wasDeleted);

    World& world_;
    std::vector<Folder>& folders_;
    const Transport transport_;
};

} // namespace vello::presetmodel
