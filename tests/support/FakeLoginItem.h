// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/LoginItem.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace vello {

/// Has the status that the test sets, and records the calls that change it.
class FakeLoginItem final : public LoginItem {
public:
    Status current = Status::notRegistered;
    Status afterRegistration = Status::enabled;
    bool failsToChange = false;     ///< registering and unregistering throw without any effect
    std::vector<std::string> calls; ///< "register" and "unregister"

    Status status() override { return current; }
    void registerItem() override { change("register", afterRegistration); }
    void unregisterItem() override { change("unregister", Status::notRegistered); }

private:
    void change(const char* call, Status changed) {
        calls.emplace_back(call);
        if (failsToChange)
            throw std::runtime_error("the disk is full");
        current = changed;
    }
};

} // namespace vello
