// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/System/UserFolders.h"
#include "Ports/ConsentStore.h"

#include <filesystem>
#include <string>

namespace vello {

/// Where the answer may be kept.
struct ConsentPlaces {
    std::filesystem::path file;
    std::string busAddress; ///< of the session bus with the permission store; empty: there is none

    static ConsentPlaces fromEnvironment(const Environment& environment);
};

/// The desktop's permission store where the session offers one; only elsewhere the file. So one of the two is
/// in force, and an answer in the other has no effect.
class LinuxConsentStore final : public ConsentStore {
public:
    explicit LinuxConsentStore(ConsentPlaces places) : places_(std::move(places)) {}

    Consent read() override;
    void write(Consent answer) override;

private:
    const ConsentPlaces places_;
};

} // namespace vello
