// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/RunningApplications.h"

#include <functional>
#include <map>

namespace vello {

/// A table that the test fills in.
class FakeRunningApplications final : public RunningApplications {
public:
    std::map<std::int32_t, RunningApplication> applications;          ///< by process
    std::map<std::string, RunningApplication, std::less<>> installed; ///< by bundle identifier
    std::map<std::int32_t, std::int32_t> responsible; ///< a process without an entry is its own
    std::int32_t own = 1000;

    std::optional<RunningApplication> runningApplication(std::int32_t pid) override {
        const auto found = applications.find(pid);
        return found == applications.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<RunningApplication> installedApplication(std::string_view bundleIdentifier) override {
        const auto found = installed.find(bundleIdentifier);
        return found == installed.end() ? std::nullopt : std::optional(found->second);
    }
    std::int32_t responsibleProcess(std::int32_t pid) override {
        const auto found = responsible.find(pid);
        return found == responsible.end() ? pid : found->second;
    }
    std::int32_t ownProcess() const override { return own; }
};

} // namespace vello
