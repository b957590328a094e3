// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace vello {

/// Why what the user changed is not on disk.
struct SaveProblem {
    enum class Kind {
        other,
        diskFull,
        notPermitted,  ///< also a file system that is read-only
        usedElsewhere, ///< another instance writes these settings
        notShared,     ///< on disk, but not for the user's other machines
        unreadable,    ///< nothing is lost, but the settings saved earlier are not in use
    };

    Kind kind = Kind::other;
    std::string reason; ///< for the log, in English; may contain paths

    friend bool operator==(const SaveProblem&, const SaveProblem&) = default;
};

/// For the terminal, in one line: "not saved, because ...".
std::string sentence(const SaveProblem& problem);

/// A save that failed. `what()` is the reason.
class SaveFailure : public std::runtime_error {
public:
    explicit SaveFailure(const SaveProblem& problem)
        : std::runtime_error(problem.reason), problem_(problem) {}

    const SaveProblem& problem() const noexcept { return problem_; }

private:
    SaveProblem problem_;
};

/// What `error`, the failure of a save, means to the user.
SaveProblem saveProblem(const std::exception& error);

} // namespace vello
