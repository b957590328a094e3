// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// The user's answer to the question whether VELLO may capture what applications play.
enum class Consent { undecided, allowed, denied };

/// The place where the answer is kept. One thread at a time; the calls block.
class ConsentStore {
public:
    virtual ~ConsentStore() = default;

    /// Undecided also when what is kept there cannot be understood. Throws std::exception with a sentence
    /// when the place does not answer.
    virtual Consent read() = 0;
    /// `answer` is not `undecided`. Every running instance learns of it. Throws as read() does.
    virtual void write(Consent answer) = 0;
};

} // namespace vello
