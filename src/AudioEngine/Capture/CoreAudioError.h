// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"

#include <exception>
#include <string>
#include <variant>

namespace vello {

/// A failed call to the audio system, or an object that is not valid for its purpose. Thrown on the main
/// thread only.
class CoreAudioError : public std::exception {
public:
    struct Status {
        OSStatus status = kAudioHardwareNoError;
        std::string operation;

        friend bool operator==(const Status&, const Status&) = default;
    };
    struct InvalidObject {
        std::string text;

        friend bool operator==(const InvalidObject&, const InvalidObject&) = default;
    };
    using Case = std::variant<Status, InvalidObject>;

    static CoreAudioError status(OSStatus status, std::string operation);
    static CoreAudioError invalidObject(std::string text);

    const Case& value() const noexcept { return value_; }
    /// "OPERATION failed (OSStatus STATUS)", or the unchanged text of an invalid object.
    const std::string& description() const noexcept { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

private:
    CoreAudioError(Case value, std::string description);

    Case value_;
    std::string description_;
};

} // namespace vello
