// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/LoginItem.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace vello {

/// The start at login of a sandboxed program: the desktop's Background portal writes the entry, since the
/// sandbox hides the folder of such entries. The portal tells nobody what holds, so its last answer is kept
/// in a file. Requires a QCoreApplication.
class PortalLoginItem final : public LoginItem {
public:
    struct Places {
        std::string busAddress;       ///< of the session bus
        std::filesystem::path answer; ///< file with the portal's last answer
    };

    /// `command`: the program inside the sandbox, and its arguments.
    PortalLoginItem(Places places, std::vector<std::string> command,
                    std::chrono::milliseconds patience = std::chrono::seconds(5))
        : places_(std::move(places)), command_(std::move(command)), patience_(patience) {}

    /// `requiresApproval` after the user or the desktop has refused.
    Status status() override;
    /// Waits for the portal's answer, at most for the patience; no events are handled meanwhile that the
    /// user causes.
    void registerItem() override;
    void unregisterItem() override;

private:
    /// Throws std::runtime_error with a sentence when the portal does not answer.
    bool request(bool isEnabled) const;
    void keep(const char* answer) const;

    const Places places_;
    const std::vector<std::string> command_;
    const std::chrono::milliseconds patience_;
};

} // namespace vello
