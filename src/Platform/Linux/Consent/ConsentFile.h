// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/ConsentStore.h"

#include <filesystem>

namespace vello {

/// The answer in a file of the user's own, for sessions that have no permission store. Only a regular file
/// that belongs to the user, that nobody else may write and that holds exactly what write() writes is an
/// answer.
class ConsentFile final : public ConsentStore {
public:
    explicit ConsentFile(std::filesystem::path file) : file_(std::move(file)) {}

    Consent read() override;
    void write(Consent answer) override;

private:
    const std::filesystem::path file_;
};

} // namespace vello
