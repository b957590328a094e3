// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Whether the user allows VELLO to capture what applications play.
enum class Consent { undecided, allowed, denied };

/// Persistent storage of the answer. One thread at a time; the calls block.
class ConsentStore {
public:
    virtual ~ConsentStore() = default;

    /// Returns `undecided` also when the stored value is not valid. Throws std::exception with a sentence for
    /// the user when the store does not respond.
    virtual Consent read() = 0;
    /// `answer` must not be `undecided`. Every running instance is notified. Throws like read().
    virtual void write(Consent answer) = 0;
};

} // namespace vello
